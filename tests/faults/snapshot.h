// What is in a folder, to be compared with what was there before.
#ifndef BRENHOLT_TESTS_FAULTS_SNAPSHOT_H
#define BRENHOLT_TESTS_FAULTS_SNAPSHOT_H

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace brenholt {

// Each path under `root`, and `root`: kind and permissions, inode, times of the last change of
// content and of anything, target or content. Links are not followed.
inline std::map<std::string, std::string> Snapshot(const std::string& root) {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> found;
    const auto note = [&found](const fs::path& path) {
        struct stat status {};
        lstat(path.c_str(), &status);
        std::string text;
        for (const auto number :
             {static_cast<int64_t>(status.st_mode), static_cast<int64_t>(status.st_ino),
              status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
              status.st_ctim.tv_nsec}) {
            text += std::to_string(number) + ' ';
        }
        if (S_ISLNK(status.st_mode)) {
            text += fs::read_symlink(path).native();
        } else if (S_ISREG(status.st_mode)) {
            std::ifstream file(path, std::ios::binary);
            text.append(std::istreambuf_iterator<char>(file), {});
        }
        found[path.native()] = text;
    };
    note(root);
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        note(entry.path());
    }
    return found;
}

}  // namespace brenholt

#endif
