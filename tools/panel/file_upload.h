// One file that a host sends (DL).
//
// Payload of each datagram:  0  file record   25  name area   then  file data
//
// The record's length byte counts the host's absolute path, and the name area has one byte more
// than that: in it the file's short name, a zero byte, and bytes without meaning. A path of 256
// bytes or more shows in the length byte as 256 less; it is recognised by a name that has no
// end in the smaller area.
//
// The request's text says where the file goes: a path, or a folder (it ends in a separator, or a
// folder of that name exists) that takes the file under its short name. The file appears there when
// all of it has come.
#ifndef BRENHOLT_TOOLS_PANEL_FILE_UPLOAD_H
#define BRENHOLT_TOOLS_PANEL_FILE_UPLOAD_H

#include <cstdint>
#include <memory>
#include <string>

#include "tools/panel/file_record.h"
#include "tools/panel/request.h"
#include "tools/panel/storage.h"
#include "tools/panel/wire.h"

namespace tavrin {

class FileUpload {
 public:
    // True: the datagram is taken, or repeats the one taken last; it is to be acknowledged with its
    // digit. False is a refusal. The digit 0 always begins anew.
    bool Take(const Storage& storage, const Request& request, ByteView datagram);
    // Between two requests: writes what was acknowledged. A failure refuses the next datagram; the
    // last datagram of a file is written before it is acknowledged.
    void WorkAhead();

 private:
    bool Begin(const Storage& storage, const Request& request);
    bool Continue(const Request& request);
    bool Accept(ByteView data);
    bool Finish();

    std::unique_ptr<NewFile> m_file;  // while a transfer runs
    char m_digit = kFirstDigit;
    Bytes m_last;            // the datagram taken last, whole
    size_t m_unwritten = 0;  // bytes at its end that are not in the file yet
    Bytes m_head;            // record and short name, which every datagram of the transfer repeats
    std::string m_text;
    FileRecord m_record;
    uint64_t m_left = 0;  // bytes still to come
};

}  // namespace tavrin

#endif
