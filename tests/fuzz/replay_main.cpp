// Runs every file of the given folders (or the given files) through a fuzz target once, so the
// corpus is replayed by every test run without a fuzzing compiler.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int k = 1; k < argc; ++k) {
        std::filesystem::path p(argv[k]);
        if (std::filesystem::is_directory(p)) {
            for (const auto& e : std::filesystem::directory_iterator(p))
                if (e.is_regular_file()) files.push_back(e.path());
        } else {
            files.push_back(p);
        }
    }
    for (const auto& f : files) {
        std::ifstream in(f, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu passed, 0 failed\n", files.size());
    return files.empty() ? 1 : 0;
}
