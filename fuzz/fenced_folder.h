// A folder for what a panel sends, beside one that it must not reach.
#ifndef BRENHOLT_FUZZ_FENCED_FOLDER_H
#define BRENHOLT_FUZZ_FENCED_FOLDER_H

#include "fuzz/input.h"
#include "tests/faults/snapshot.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {

class FencedFolder {
 public:
    FencedFolder() {
        std::filesystem::create_directories(m_scratch.Path() + "/outside/sub");
        m_scratch.Write("outside/f", "safe");
        m_scratch.Write("outside/sub/f", "safe");
        m_before = Snapshot(m_scratch.Path() + "/outside");
        Clear();
    }

    // As it is before each input: the file "f", the folder "sub" and links that lead outside.
    void Clear() {
        std::filesystem::remove_all(Path());
        std::filesystem::create_directories(Path() + "/sub");
        m_scratch.Write("to/f", "old");
        std::filesystem::create_symlink("../outside", Path() + "/link");
        std::filesystem::create_symlink("../outside/f", Path() + "/file");
    }
    void Check() const {
        Require(Snapshot(m_scratch.Path() + "/outside") == m_before,
                "nothing outside the folder changes");
        for (const auto& entry : std::filesystem::directory_iterator(m_scratch.Path())) {
            Require(entry.path().filename() == "to" || entry.path().filename() == "outside",
                    "nothing appears beside the folder");
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Path())) {
            const std::string name = entry.path().filename();
            Require(!(name.starts_with("TMP") && name.ends_with(".tmp")),
                    "no temporary file stays");
        }
    }

    std::string Path() const { return m_scratch.Path() + "/to"; }
    std::u16string Text() const { return m_scratch.Text(u"to"); }
    std::string Read(const std::string& name) const { return m_scratch.Read("to/" + name); }

 private:
    ScratchFolder m_scratch;
    std::map<std::string, std::string> m_before;
};

}  // namespace brenholt

#endif
