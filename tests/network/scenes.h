// The commands that faults are tried on, each with what is right; and scenes, handfuls of them.
#ifndef BRENHOLT_TESTS_NETWORK_SCENES_H
#define BRENHOLT_TESTS_NETWORK_SCENES_H

#include <array>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/network/network.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {

inline constexpr size_t kPacket = 1363;  // bytes of a file in a full reply

inline std::string Random(size_t size, uint32_t seed) {
    std::string data(size, '\0');
    for (char& byte : data) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<char>(seed >> 24);
    }
    return data;
}

// One command of a scene.
struct Step {
    std::string words;
    std::function<int(CTvUdp&)> run;
    std::function<bool()> right;        // looked at when it has ended...
    std::function<bool()> rightAtLast;  // ...and when all that was under way has landed
    bool refused = false;               // the panel's answer makes it a failure
};

struct Scene {
    std::string name;
    std::vector<Step> steps;
};

// The panel's files and the host's, and the scenes that are played with them.
class World {
 public:
    World() {
        for (const auto& [name, data] : Files()) {
            storage.Write(name, data);
        }
        for (const char* folder : {"many", "more", "few"}) {
            std::filesystem::create_directory(storage / folder);
        }
        for (int i = 0; i < 60; ++i) {
            storage.Write("many/m" + std::to_string(i), "x");
            storage.Write("more/n" + std::to_string(i), "x");
        }
        for (const char* name : {"a", "b", "c"}) {
            storage.Write(std::string("few/") + name, Random(2000, 9));
        }
        storage.Write("few/d", "");
        storage.Write("few/e", "");
        // Alike files differ in nothing that a reply shows.
        for (const auto& entry : std::filesystem::recursive_directory_iterator(storage.Path())) {
            std::filesystem::last_write_time(
                entry, std::filesystem::file_time_type(std::chrono::seconds(1'700'000'000)));
        }
        local.Write("three", Random(3000, 21));
        local.Write("two", Random(2000, 22));
        local.Write("zeros", std::string(3000, '\0'));
        for (int i = 0; i < 4; ++i) {
            local.Write("small" + std::to_string(i), "small " + std::to_string(i));
        }
    }

    std::vector<Scene> Scenes() {
        return {
            {"two files", {Get("big"), Get("other")}},
            {"small files", {Get("s1"), Get("s2"), Get("s3"), Get("s4")}},
            {"one file again and again", {Get("s1"), Get("s1"), Get("s1"), Get("s2")}},
            {"a file of alike packets", {Get("alike"), Get("s1")}},
            {"alike files",
             {Get("t1"), Get("t2"), Get("t3"), Get("s1"), Get("t1"), Get("p1"), Get("p2")}},
            {"zeros", {Get("z1"), Get("z2"), Get("z3")}},
            {"empty files", {Get("e1"), Get("e2"), Get("s1"), Get("e1")}},
            {"listings", {List("many", 60), Get("s1"), List("more", 60), List("few", 5)}},
            {"all kinds", {Tm(), Get("s1"), Vs(), List("few", 5), Get("other")}},
            {"queries", {Vs(), Ip(), IpOther(), Vs(), Tm(), Ip()}},
            {"two panels", {Put("small1"), IpOther(), Make("new"), Turn(), Get("s1"), Vs()}},
            {"a folder", {Copy("few"), Get("s1")}},
            {"files sent", {Put("three"), Put("two"), Put("zeros")}},
            {"small files sent", {Put("small0"), Put("small1"), Put("small2"), Put("small3")}},
            {"blocks", {Block(3000, 31), Block(1000, 32), Block(2000, 33)}},
            {"both ways", {Get("s1"), Put("two"), Block(2000, 34), Get("z3"), Vs()}},
            {"words",
             {Make("new"), Remove("old"), Find("s1", 1), Find("none", 0), Make("newer"),
              Find("few", 0), Tm()}},
            {"refusals",
             {Refused(Get("none")), Get("s1"), Find("none", 1), Get("s2"), Refused(List("none", 1)),
              Tm()}},
        };
    }

    // As before the first step of any scene.
    void Reset() {
        m_other = false;
        for (const char* name :
             {"new", "newer", "three", "two", "zeros", "small0", "small1", "small2", "small3"}) {
            std::filesystem::remove(storage / name);
        }
        if (!std::filesystem::exists(storage / "old")) {
            storage.Write("old", "x");
        }
    }

    Network* network = nullptr;
    ScratchFolder storage;
    ScratchFolder local;

    // ---- the commands ------------------------------------------------------------------------

    Step Get(const std::string& name) {
        return {"get " + name,
                [=, this](CTvUdp& link) {
                    std::filesystem::remove(target / name);
                    return link.CmdUP(Wide(name).c_str(), target.Text().c_str(), 0);
                },
                [=, this] { return target.Read(name) == storage.Read(name); },
                {}};
    }
    Step Copy(const std::string& folder) {
        return {"copy " + folder,
                [=, this](CTvUdp& link) {
                    for (const std::string& name : target.Names()) {
                        std::filesystem::remove(target / name);
                    }
                    return link.CmdGF(Wide(folder).c_str(), target.Text().c_str(), 0);
                },
                // A folder that is not listed counts as empty.
                [=, this] {
                    const std::vector<std::string> names = target.Names();
                    return names.empty() ||
                           (names.size() == 5 &&
                            std::all_of(names.begin(), names.end(), [&](const std::string& name) {
                                return target.Read(name) == storage.Read(folder + '/' + name);
                            }));
                },
                {}};
    }
    Step List(const std::string& folder, size_t count) {
        return {"list " + folder,
                [=, this](CTvUdp& link) {
                    m_entries.assign(1000, {});
                    return m_count = link.CmdDR(Wide(folder).c_str(), 1000, m_entries.data(), 0);
                },
                [=, this] {
                    std::set<std::string> names;
                    for (int i = 0; i < m_count; ++i) {
                        names.insert(folder + '/' + m_entries[static_cast<size_t>(i)].szName);
                    }
                    return names.size() == count && static_cast<size_t>(m_count) == count &&
                           std::all_of(names.begin(), names.end(), [this](const std::string& name) {
                               return std::filesystem::exists(storage / name);
                           });
                },
                {}};
    }
    Step Put(const std::string& name) { return Put(name, name); }
    Step Put(const std::string& name, const std::string& remote) {
        return {"put " + name,
                [=, this](CTvUdp& link) {
                    return link.CmdDL(local.Text(Wide(name)).c_str(), Wide(remote).c_str(), 0);
                },
                {},
                [=, this] { return storage.Read(remote) == local.Read(name); }};
    }
    Step Block(size_t size, uint32_t seed) { return Block(Random(size, seed), seed); }
    Step Block(const std::string& data, uint32_t seed) {
        const std::string label = "block" + std::to_string(seed);
        return {"send " + label,
                [=](CTvUdp& link) {
                    return link.CmdML(reinterpret_cast<const uint8_t*>(data.data()),
                                      static_cast<int>(data.size()), Wide(label).c_str(), 0);
                },
                {},
                [=, this] { return network->blocks[label] == data; }};
    }
    Step Tm() {
        return {"TM", [](CTvUdp& link) { return link.CmdTM(0); }, {}, {}};
    }
    Step Vs() {
        return {"VS",
                [this](CTvUdp& link) {
                    m_words = {};
                    return link.CmdVS(&m_words[0], &m_words[1], &m_words[2], 0);
                },
                [this] { return m_words == (m_other ? Network::kOtherWords : Network::kWords); },
                {}};
    }
    // The other panel becomes the target.
    Step Turn() {
        return {"turn",
                [this](CTvUdp& link) {
                    m_other = !m_other;
                    link.m_strTargetIp.Set(m_other ? u"192.168.0.2" : u"192.168.0.1");
                    return 1;
                },
                {},
                {}};
    }
    Step Ip() { return Identify(u"192.168.0.1", u"One"); }
    Step IpOther() { return Identify(u"192.168.0.2", u"Two"); }
    Step Identify(const std::u16string& address, const std::u16string& project) {
        return {"IP of " + std::string(project.begin(), project.end()),
                [=, this](CTvUdp& link) {
                    return link.CmdIP(address.c_str(), 0, m_project, &m_words[0], &m_words[1]);
                },
                [=, this] { return m_project == project; },
                {}};
    }
    Step Make(const std::string& folder) {
        return {"MD " + folder,
                [=](CTvUdp& link) { return link.CmdMD(Wide(folder).c_str(), 0); },
                {},
                [=, this] { return std::filesystem::is_directory(storage / folder); }};
    }
    Step Remove(const std::string& name) {
        return {"RM " + name,
                [=](CTvUdp& link) { return link.CmdRM(Wide(name).c_str(), 0); },
                {},
                [=, this] { return !std::filesystem::exists(storage / name); }};
    }
    // FF, or with `file` 0 FD.
    Step Find(const std::string& name, int file) {
        Step step{(file != 0 ? "FF " : "FD ") + name,
                  [=](CTvUdp& link) { return link.CmdFile(Wide(name).c_str(), file, 0); },
                  {},
                  {}};
        const auto path = storage / name;
        step.refused = !(file != 0 ? std::filesystem::is_regular_file(path)
                                   : std::filesystem::is_directory(path));
        return step;
    }
    static Step Refused(Step step) {
        step.refused = true;
        return step;
    }

 private:
    static std::vector<std::pair<std::string, std::string>> Files() {
        const std::string tile = Random(kPacket, 3);
        return {{"big", Random(2 * kPacket + 100, 1)},
                {"other", Random(kPacket + 300, 2)},
                {"s1", Random(200, 4)},
                {"s2", Random(200, 5)},
                {"s3", Random(30, 6)},
                {"s4", "x"},
                {"alike", tile + tile + tile + "end"},
                {"t1", Random(200, 7)},
                {"t2", Random(200, 7)},
                {"t3", Random(200, 7)},
                {"p1", Random(kPacket + 9, 8)},
                {"p2", Random(kPacket + 9, 8)},
                {"z1", std::string(3 * kPacket + 10, '\0')},
                {"z2", std::string(2 * kPacket + 10, '\0')},
                {"z3", std::string(2 * kPacket + 500, '\0')},
                {"e1", ""},
                {"e2", ""}};
    }
    static std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

    ScratchFolder target;
    std::vector<PanelDirEntry> m_entries;
    int m_count = 0;
    bool m_other = false;  // the target is the other panel
    std::array<uint16_t, 3> m_words{};
    std::u16string m_project;
};

}  // namespace brenholt

#endif
