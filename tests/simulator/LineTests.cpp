#include "VirtualLine.h"

#include "rig/Vectors.h"

using namespace simtest;

namespace {

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
    const std::vector<WireVector> vectors = CommandLineVectors();
    ASSERT_GE(vectors.size(), 20U);
    for (const WireVector& vector : vectors) {
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
