// Records the replies that the simulated panel gives to each command, as inputs of the fuzz
// targets:
//   fuzz_record_seeds FOLDER
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "commands/file_record.h"
#include "discovery/beacon.h"
#include "fuzz/input.h"
#include "link/tv_udp.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/virtual_network/panel_answers.h"
#include "tests/support/virtual_network/virtual_wire.h"

namespace brenholt {
namespace {

std::string Counted(std::string_view bytes) {
    std::string counted{static_cast<char>(bytes.size()), static_cast<char>(bytes.size() >> 8)};
    return counted.append(bytes);
}

class Recorder {
 public:
    explicit Recorder(std::string folder) : m_folder(std::move(folder)) {
        std::filesystem::create_directories(m_storage.Path() + "/sub/deeper");
        std::filesystem::create_directories(m_storage.Path() + "/many");
        m_storage.Write("f", std::string(3000, 'f'));
        m_storage.Write("empty", "");
        m_storage.Write("sub/gr\xC3\xBC\xC3\x9F", "text");
        m_storage.Write("sub/deeper/\xFF", "text");
        for (int i = 0; i < 60; ++i) {
            m_storage.Write("many/" + std::string(20, 'n') + std::to_string(i), "");
        }
        m_local.Write("short", std::string(1000, 's'));
        m_local.Write("long", std::string(5900, 'l'));
    }

    void Save(const std::string& target, const std::string& name, const std::string& input) const {
        const std::string folder = m_folder + '/' + target;
        std::filesystem::create_directories(folder);
        std::ofstream(folder + '/' + name, std::ios::binary) << input;
    }
    // An input of `start` and the replies to `command`.
    void Record(const std::string& target, const std::string& name, const std::string& start,
                const std::function<void(CTvUdp&)>& command) const {
        tavrin::Panel panel(m_storage.Path());
        std::string input = start;
        VirtualWire& wire = VirtualWire::Get();
        wire.Reset();
        wire.onSend = [&](const WireDatagram& request) {
            for (const std::string& answer : Answers(panel, request.bytes)) {
                input += '\0' + Counted(answer);
                wire.Arrive(1000, {"192.168.0.1", kPanelPort, kCommandPort, answer});
            }
        };
        CTvUdp link;
        link.Create(kCommandPort);
        command(link);
        wire.onSend = nullptr;
        Save(target, name, input);
    }
    void RecordAll() const;

 private:
    const std::string m_folder;
    const ScratchFolder m_storage;
    const ScratchFolder m_local;
};

void Recorder::RecordAll() const {
    const std::u16string to = m_local.Text();
    Record("exchange", "alive", {0}, [](CTvUdp& link) { link.CmdTM(0); });
    Record("exchange", "made", {4}, [](CTvUdp& link) { link.CmdMD(u"made", 0); });
    Record("exchange", "version", {8},
           [](CTvUdp& link) { link.CmdVS(nullptr, nullptr, nullptr, 0); });
    Record("exchange", "identity", {7}, [](CTvUdp& link) {
        std::u16string project;
        uint16_t version = 0;
        uint16_t cpu = 0;
        link.CmdIP(u"192.168.0.1", 0, project, &version, &cpu);
    });
    for (const std::u16string folder : {u"", u"sub", u"many", u"none"}) {
        std::vector<PanelDirEntry> entries(100);
        const std::string name = "list-" + std::string(folder.begin(), folder.end());
        Record("listing", name, {15},
               [&](CTvUdp& link) { link.CmdDR(folder.c_str(), 100, entries.data(), 0); });
        Record("folder", name, {},
               [&](CTvUdp& link) { link.CmdGF(folder.c_str(), to.c_str(), 0); });
    }
    for (const std::u16string file : {u"f", u"empty", u"none"}) {
        Record("fetch", std::string(file.begin(), file.end()), {0},
               [&](CTvUdp& link) { link.CmdUP(file.c_str(), to.c_str(), 0); });
    }
    for (const std::u16string file : {u"short", u"long"}) {
        const int hundreds = file == u"short" ? 10 : 59;
        const std::string name(file.begin(), file.end());
        Record("send", name, std::string(1, static_cast<char>(2 * hundreds)),
               [&](CTvUdp& link) { link.CmdDL(m_local.Text(file).c_str(), u"sent", 0); });
        Record("send", name + "-block", std::string(1, static_cast<char>(2 * hundreds + 1)),
               [&](CTvUdp& link) {
                   const std::vector<uint8_t> block(100U * static_cast<unsigned>(hundreds));
                   link.CmdML(block.data(), static_cast<int>(block.size()), u"text", 0);
               });
    }
    const std::string greeting(kGreeting);
    const auto entry = [](const std::string& name) {
        std::string record(kRecordSize, '\0');
        record.back() = static_cast<char>(name.size());
        return record + name;
    };
    Save("records", "three", entry("a") + entry("") + entry(std::string("b\0c", 3)));
    Save("beacon", "two",
         "\1" + Counted(greeting + "?Line1_ARM_0102") + "\2" + Counted(greeting) + "\1" +
             Counted(greeting + "?My_Line_X86_0310"));
    Save("user_file", "lines", "10.0.0.1\r10.0.0.2\n10.0.0.3\r\n10.0.0.1\r\nrest");
    Save("text", "names", "gr\xC3\xBC\xC3\x9F e\xCC\x81 \xFF\xC0\xAE ..\\x/y");
    Save("text", "descriptor", "My_Line_X86_0310");
    Save("text", "number", " -0x1Fg 4294967296");
}

}  // namespace
}  // namespace brenholt

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    brenholt::Recorder(argv[1]).RecordAll();
    return 0;
}
