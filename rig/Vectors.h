#pragma once

// The wire's golden bytes: command lines, frames and packets.

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

struct FrameVector {
    std::string kind; // "frame", "data" or "control"
    unsigned number;  // the block, or the code
    std::string data;
    unsigned value; // of a control packet
    std::string wire;
};

inline std::vector<FrameVector> FrameVectors(const std::string& kind) {
    std::vector<FrameVector> vectors;
    std::ifstream file(ZO_VECTORS "/frames.txt");
    for (std::string row; std::getline(file, row);) {
        std::istringstream words(row);
        FrameVector vector = {};
        std::string second;
        std::string wire;
        if (!(words >> vector.kind >> vector.number >> second >> wire) || vector.kind != kind)
            continue;
        if (kind == "control")
            vector.value = static_cast<unsigned>(std::stoul(second));
        else if (second != "-")
            vector.data = FromHex(second);
        vector.wire = FromHex(wire);
        vectors.push_back(vector);
    }
    return vectors;
}
