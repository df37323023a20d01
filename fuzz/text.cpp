// Text and paths from foreign bytes.
#include "platform/text.h"
#include "discovery/tavrin_unit.h"
#include "fuzz/input.h"
#include "platform/address.h"
#include "platform/path.h"
#include "platform/posix/disk_path.h"

using namespace brenholt;

namespace {

void CheckNames(const std::string& bytes) {
    Require(WideCharToMultiByte(WidenName(bytes)) == bytes, "a name survives the way in and out");
    const std::u16string text = MultiByteToWideChar(bytes);
    const std::string composed = WideCharToMultiByte(text);
    Require(WideCharToMultiByte(MultiByteToWideChar(composed)) == composed,
            "composed text survives the way in and out");
    const std::string disk = DiskPath(text);
    Require(disk.find('\\') == std::string::npos, "the disk's separator is /");
    if (IsPlainName(WidenName(bytes))) {
        Require(LastComponent(WidenName(bytes)) == WidenName(bytes) &&
                    DiskPath(WidenName(bytes)) == bytes,
                "a plain name is one component");
    }
    Require(FolderPath(text).ends_with(u'\\'), "a folder ends with its separator");
}

void CheckNumbers(const std::u16string& text) {
    _wtoi(text);
    Require(text.find(u'-') != std::u16string::npos || wcstoul(text, 16) >= wcstoul(text, 10),
            "hexadecimal digits count for more");
    CTavrinUnit unit(u"10.0.0.1", 1);
    unit.ParseDescriptor(text);
    Require(unit.m_nCpu >= kCpuUnknown && unit.m_nCpu <= kCpuX86, "a processor is known or not");
    Require(EqualNoCase(MakeUpper(text), text), "case is ignored");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CheckNames(bytes);
    CheckNumbers(MultiByteToWideChar(bytes));
    std::u16string wide(bytes.size() / 2, u'\0');
    std::copy_n(bytes.data(), 2 * wide.size(), reinterpret_cast<char*>(wide.data()));
    WideCharToMultiByte(wide);
    CheckNumbers(wide);
    return 0;
}
