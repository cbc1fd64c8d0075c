// Stands in for libFuzzer where a target is built without it: runs the target on every file of the
// given folders, in order of their names. A folder without files is refused, since nothing would be
// tested.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Path = std::filesystem::path;

std::vector<Path> FilesOf(const Path& folder) {
    std::vector<Path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void Replay(const Path& path) {
    // The name stands before whatever the input brings about.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw std::filesystem::filesystem_error("cannot be read", path, {});
    // Memory that ends with the input: a sanitizer sees a read beyond it.
    const auto input = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), input.get());
    LLVMFuzzerTestOneInput(input.get(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER...\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        for (int i = 1; i < argc; ++i) {
            const std::vector<Path> files = FilesOf(argv[i]);
            if (files.empty()) {
                std::fprintf(stderr, "%s: holds no input\n", argv[i]);
                return EXIT_FAILURE;
            }
            std::for_each(files.begin(), files.end(), Replay);
        }
    } catch (const std::filesystem::filesystem_error& fault) {
        std::fprintf(stderr, "%s\n", fault.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
