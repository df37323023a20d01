#include <fstream>
#include <memory>
#include <vector>

#include "tools/host/commands.h"
#include "tools/host/diagnosis.h"
#include "tools/host/failure.h"
#include "tools/host/output.h"
#include "tools/host/panel_path.h"
#include "tools/host/session.h"
#include "tools/host/text.h"
#include "tools/host/transfer.h"

namespace host {
namespace {

struct SendBlockArguments {
    std::string file;
    std::string text;
};

std::vector<uint8_t> ReadBlock(const std::string& file) {
    uint64_t size = 0;
    const std::string trouble = FileTrouble(file, size);
    if (!trouble.empty()) {
        throw Failure(ExitCode::Failed, trouble);
    }
    std::vector<uint8_t> block(size);
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(block.data()), static_cast<std::streamsize>(size));
    if (!stream) {
        throw Failure(ExitCode::Failed, "\"" + file + "\" cannot be read to its end");
    }
    return block;
}

void SendBlock(Session& session, const SendBlockArguments& args) {
    const std::vector<uint8_t> block = ReadBlock(args.file);
    const std::u16string text = PanelText(args.text);
    session.Connect();
    const auto [ok, seconds] = Transfer(session, SizeText(block.size()), [&] {
        return session.table().CmdML(block.data(), static_cast<int32_t>(block.size()),
                                     text.c_str());
    });
    if (session.options().json) {
        Json object;
        PutName(object, "file", args.file);
        PutName(object, "text", args.text);
        object["ok"] = ok;
        object["bytes"] = block.size();
        object["seconds"] = seconds;
        PrintJson(object);
    }
    if (!ok) {
        throw Failure(ExitCode::Failed, "the block was not sent: " + PanelState(session));
    }
    Say(Format("block sent: %s in %.1f s", SizeText(block.size()).c_str(), seconds));
}

}  // namespace

Action DefineSendBlock(CLI::App& app) {
    auto args = std::make_shared<SendBlockArguments>();
    app.add_option("FILE", args->file, "Host file whose bytes are the block")->required();
    app.add_option("TEXT", args->text, "Text that goes with the block, as it is")->required();
    return [args](Session& session) { SendBlock(session, *args); };
}

}  // namespace host
