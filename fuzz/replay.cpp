// Runs a fuzz target on the files of the folders given, where no fuzzing engine is linked.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/input.h"

int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string input(std::istreambuf_iterator<char>(file), {});
            std::fprintf(stderr, "%s\n", entry.path().filename().c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
            ++files;
        }
    }
    std::fprintf(stderr, "%d inputs\n", files);
    return files > 0 ? 0 : 1;
}
