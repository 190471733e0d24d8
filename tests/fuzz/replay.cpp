// SPDX-License-Identifier: Apache-2.0
// usage: NAME_replay FILE|FOLDER...: gives a fuzzer every file, and every file of the folders, once and without
// libFuzzer. A folder without one is a failure.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pu8Data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesOf(const char* pszPath) {
    if (!std::filesystem::is_directory(pszPath)) {
        return {pszPath};
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(pszPath)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::uint8_t> bytesOf(const std::filesystem::path& path) {
    std::ifstream file;
    file.exceptions(std::ios::failbit);
    file.open(path, std::ios::binary);
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    // Nothing after the last byte may be read: no memory of this program may follow it.
    bytes.shrink_to_fit();
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    // The name is printed before its input can end the program.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::size_t replayed = 0;
    bool bEmpty = argc < 2;
    for (int i = 1; i < argc; ++i) {
        const std::vector<std::filesystem::path> files = filesOf(argv[i]);
        for (const std::filesystem::path& path : files) {
            std::puts(path.filename().c_str());
            const std::vector<std::uint8_t> bytes = bytesOf(path);
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        }
        replayed += files.size();
        bEmpty = bEmpty || files.empty();
    }
    std::printf("%zu inputs replayed\n", replayed);
    return bEmpty ? 1 : 0;
}
