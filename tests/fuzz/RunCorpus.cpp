// Stands in for libFuzzer: runs a target over the files of the folders that are named.

#include "FuzzTarget.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string input(std::istreambuf_iterator<char>(file), {});
            // A copy of exactly that size, so that the sanitizer sees every step beyond it.
            const std::vector<std::uint8_t> bytes(input.begin(), input.end());
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count == 0; // an empty corpus proves nothing
}
