#pragma once

// The wire's golden bytes: command lines as text and as they go over the line.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct WireVector {
    std::string text;
    std::string wire;
};

inline std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

inline std::vector<WireVector> CommandLineVectors() {
    std::vector<WireVector> vectors;
    std::ifstream file(ZO_VECTORS "/command_lines.txt");
    for (std::string row; std::getline(file, row);) {
        std::istringstream words(row);
        std::string text;
        std::string wire;
        if (words >> text >> wire && text[0] != '#')
            vectors.push_back({FromHex(text), FromHex(wire)});
    }
    return vectors;
}
