#include "VirtualLine.h"

#include <fstream>
#include <random>
#include <sstream>

using namespace simtest;

namespace {

struct Vector {
    std::string text;
    std::string wire;
};

std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::vector<Vector> Vectors() {
    std::vector<Vector> vectors;
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

// The lines that a receiver makes of the bytes.
std::vector<sim::CommandLine> Lines(std::string_view bytes) {
    sim::LineReceiver receiver;
    std::vector<sim::CommandLine> lines;
    sim::CommandLine line;
    for (const char byte : bytes)
        if (receiver.Add(static_cast<std::uint8_t>(byte), 0, line))
            lines.push_back(line);
    return lines;
}

} // namespace

TEST(CommandLines, GoldenLinesAreTakenAndAWrongSumIsNot) {
    const std::vector<Vector> vectors = Vectors();
    ASSERT_GE(vectors.size(), 20U);
    for (const Vector& vector : vectors) {
        const std::vector<sim::CommandLine> lines = Lines(vector.wire);
        ASSERT_EQ(lines.size(), 1U) << vector.text;
        EXPECT_TRUE(lines[0].valid) << vector.text;
        EXPECT_EQ(lines[0].text, vector.text.substr(0, vector.text.find_last_not_of("\r\n") + 1));
        EXPECT_EQ(lines[0].bare, vector.text == "\n");
        for (std::size_t bit = 0; bit < 16; ++bit) {
            std::string damaged = vector.wire;
            char& byte = damaged[damaged.size() - 1 - bit / 8];
            byte = static_cast<char>(byte ^ (1 << (bit % 8)));
            EXPECT_EQ(Lines(damaged).size(), 1U);
            for (const sim::CommandLine& line : Lines(damaged))
                EXPECT_FALSE(line.valid) << vector.text << ", bit " << bit;
        }
    }
}

TEST(CommandLines, ALineThatNeverGetsItsSumDoesNotEatTheNextOne) {
    VirtualLine line;
    line.Wait(100);
    line.Send("ver\n");
    line.Wait(1001);
    EXPECT_EQ(line.Ask("ver").substr(0, 4), "\x02ver");
    line.Send("ver\n");
    line.Wait(900);
    EXPECT_EQ(line.Ask("ver").substr(0, 1), "\x01"); // too early: its first bytes were the sum
}

TEST(CommandLines, OverlongOnesAreRefusedAndTheLongestIsNot) {
    VirtualLine line;
    line.Wait(100);
    const std::string most = "echo " + std::string(sim::LineReceiver::Longest - 5, 'x');
    EXPECT_EQ(line.Ask(most), "\x02" + most + "\r\n" + most.substr(5) + "\r\nzorbel> ");
    EXPECT_EQ(line.Ask(most + 'x'), "\x01");
    EXPECT_EQ(line.Ask(std::string(100000, 'x')), "\x01");
    // The cut text with a sum that fits it is not taken either.
    EXPECT_EQ((line.Send(most + "y" + Wire(most).substr(most.size())), line.Wait(1000)), "\x01");
    EXPECT_EQ(line.Ask("echo"), "\x02"
                                "echo\r\n\r\nzorbel> ");
}

TEST(CommandLines, AnyBytesInAnyPortionsLeaveTheDeviceUsable) {
    std::mt19937 random(7);
    VirtualLine line({}, "every split 3 1");
    line.Wait(100);
    for (int round = 0; round < 300; ++round) {
        std::string bytes(random() % 60, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random() % 4 == 0 ? '\n' : random());
        line.Send(bytes);
        for (const char byte : line.Wait(random() % 50)) {
            EXPECT_TRUE(byte == 1 || byte == 2 || byte == '\r' || byte == '\n' ||
                        static_cast<unsigned char>(byte) >= 0x20);
        }
    }
    line.Wait(5000);
    line.Send("\n\n\n"); // ends what was left open
    line.Wait(5000);
    EXPECT_EQ(line.Ask("ver").substr(0, 4), "\x02ver");
}
