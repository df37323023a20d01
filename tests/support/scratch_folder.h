// A folder of a test's own, removed with everything in it.
#ifndef BRENHOLT_TESTS_SUPPORT_SCRATCH_FOLDER_H
#define BRENHOLT_TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace brenholt {

class ScratchFolder {
 public:
    ScratchFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "brenholt-XXXXXX").string();
        m_path = mkdtemp(path.data());
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const {
        return std::filesystem::path(m_path) / name;
    }
    // The path, or that of the file `name`, as text for the module (ASCII only).
    std::u16string Text(std::u16string_view name = {}) const {
        std::u16string text(m_path.begin(), m_path.end());
        return name.empty() ? text : text + u'/' + std::u16string(name);
    }
    void Write(const std::string& name, std::string_view data) const {
        std::ofstream(m_path + '/' + name, std::ios::binary | std::ios::trunc) << data;
    }
    std::string Read(const std::string& name) const {
        std::ifstream file(m_path + '/' + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    time_t LastWrite(const std::string& name) const {
        struct stat status {};
        return stat((m_path + '/' + name).c_str(), &status) == 0 ? status.st_mtime : -1;
    }
    // What is in the folder, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

 private:
    std::string m_path;
};

}  // namespace brenholt

#endif
