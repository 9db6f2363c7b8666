// Frames, packets and their reader, the device's names, a send's way through its file.

#include "link/codec/BlockFrame.h"
#include "link/codec/Packet.h"
#include "link/codec/SendCursor.h"
#include "rig/Vectors.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

namespace {

const std::uint8_t* Bytes(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

// A line in virtual time: bytes, and silences in ms between them.
class ScriptedSource {
public:
    ScriptedSource& Then(const std::string& bytes) {
        for (const char byte : bytes)
            m_Items.push_back(static_cast<unsigned char>(byte));
        return *this;
    }
    ScriptedSource& Silence(int ms) {
        m_Items.push_back(-ms);
        return *this;
    }

    int ReadByte() {
        int waited = static_cast<int>(m_ByteTimeout);
        while (!m_Items.empty() && m_Items.front() < 0 && waited > 0) {
            const int passed = std::min(waited, -m_Items.front());
            waited -= passed;
            m_Items.front() += passed;
            if (m_Items.front() == 0)
                m_Items.pop_front();
        }
        if (m_Items.empty() || waited == 0)
            return -1;
        const int byte = m_Items.front();
        m_Items.pop_front();
        m_PacketCrc = AddCrc(m_PacketCrc, static_cast<std::uint8_t>(byte));
        return byte;
    }

    std::uint32_t m_ByteTimeout = 0;
    std::uint32_t m_PacketCrc = 0;

private:
    std::deque<int> m_Items;
};

struct ReadResult {
    bool good = false;
    std::uint32_t type = 0;
    std::uint8_t sub = 0;
    std::uint32_t length = 0;
    std::string payload;
};

ReadResult Read(ScriptedSource& source) {
    ReadResult result;
    std::vector<std::uint8_t> payload(LargestPayload);
    result.good =
        ReadPacketFrom(source, result.type, result.sub, result.length, payload.data(), 512);
    result.payload.assign(payload.begin(), payload.begin() + result.length);
    return result;
}

ReadResult Read(ScriptedSource&& source) {
    return Read(source);
}

const std::string Abc = FromHex("01000003616263E3CBE3F4"); // a data packet, "abc"
const std::string BadAbc = FromHex("01000003616263E3CBE3F5");

} // namespace

TEST(Crc, CheckValueAndTable) {
    EXPECT_EQ(~AddCrc(CrcPreset, Bytes("123456789"), 9), 0xCBF43926U);
    EXPECT_EQ(CrcTable[1], 0x77073096U);
    EXPECT_EQ(CrcTable[255], 0x2D02EF8DU);
}

TEST(Frames, GoldenOnesAreWritten) {
    const std::vector<FrameVector> frames = FrameVectors("frame");
    ASSERT_GE(frames.size(), 4U);
    for (const FrameVector& frame : frames) {
        std::vector<std::uint8_t> out(frame.data.size() + BlockFrameOverhead);
        EXPECT_EQ(EncodeBlockFrame(frame.number + 0x10000, Bytes(frame.data),
                                   static_cast<std::uint16_t>(frame.data.size()), out.data()),
                  out.size());
        EXPECT_EQ(std::string(out.begin(), out.end()), frame.wire);
    }
    const std::vector<FrameVector> controls = FrameVectors("control");
    ASSERT_GE(controls.size(), 5U);
    for (const FrameVector& control : controls) {
        std::string out(ControlPacketSize, '\0');
        EncodeControl(static_cast<std::uint16_t>(control.number),
                      static_cast<std::uint16_t>(control.value),
                      reinterpret_cast<std::uint8_t*>(out.data()));
        EXPECT_EQ(out, control.wire);
    }
}

TEST(PacketReader, GoldenPacketsAreRead) {
    for (const char* kind : {"data", "control"}) {
        for (const FrameVector& vector : FrameVectors(kind)) {
            const ReadResult read = Read(ScriptedSource().Then(vector.wire));
            EXPECT_TRUE(read.good);
            EXPECT_EQ(read.type, kind[0] == 'd' ? PacketData : PacketControl);
            EXPECT_EQ(read.payload, vector.wire.substr(4, vector.wire.size() - 8));
            if (kind[0] == 'd')
                EXPECT_EQ(read.sub, vector.number);
            else
                EXPECT_EQ(ControlCodeOf(read.type, read.length, Bytes(read.payload)),
                          vector.number);
        }
    }
}

TEST(PacketReader, DamageCostsAllUpToTheNextSilence) {
    EXPECT_FALSE(Read(ScriptedSource().Then(BadAbc)).good);
    EXPECT_FALSE(Read(ScriptedSource().Then(BadAbc).Silence(199).Then(Abc)).good);
    EXPECT_TRUE(Read(ScriptedSource().Then(BadAbc).Silence(200).Then(Abc)).good);
    EXPECT_TRUE(Read(ScriptedSource().Then("\x03noise").Silence(900).Then(Abc)).good);
    EXPECT_FALSE(Read(ScriptedSource().Then("\x03" + Abc)).good);
    // 200 ms end the discard, then a whole second is left for the next packet.
    EXPECT_TRUE(Read(ScriptedSource().Then(BadAbc).Silence(1199).Then(Abc)).good);
    EXPECT_FALSE(Read(ScriptedSource().Then(BadAbc).Silence(1200).Then(Abc)).good);

    ScriptedSource twice;
    twice.Then(BadAbc).Silence(300).Then(Abc).Then(BadAbc);
    EXPECT_TRUE(Read(twice).good);
    EXPECT_FALSE(Read(twice).good);
}

TEST(PacketReader, MissingBytesEndItOrStartItOver) {
    EXPECT_FALSE(Read(ScriptedSource()).good);
    // Inside the payload it fails at once, and what it has read stands.
    ScriptedSource source;
    source.Then(FromHex("020700040001")).Silence(1000).Then(Abc);
    const ReadResult cut = Read(source);
    EXPECT_FALSE(cut.good);
    EXPECT_EQ(cut.type, PacketControl);
    EXPECT_EQ(cut.sub, 7);
    EXPECT_EQ(cut.length, 4U);
    EXPECT_EQ(cut.payload.substr(0, 2), std::string("\0\x01", 2));
    EXPECT_TRUE(Read(source).good) << "the next one begins afresh";
    // Inside the header or the CRC each of them costs its time; then the next packet counts.
    const std::pair<std::size_t, int> cuts[] = {{1, 7}, {2, 6}, {3, 5}, {7, 4}, {10, 1}};
    for (const auto& [kept, missing] : cuts) {
        ScriptedSource cutShort;
        cutShort.Then(Abc.substr(0, kept)).Silence(missing * 1000 + 700).Then(Abc);
        EXPECT_TRUE(Read(cutShort).good) << kept;
    }
}

TEST(PacketReader, WhatDidNotComeIsNeverTakenForZeros) {
    const std::string zeroCrc = [] { // a packet whose CRC ends in two zeros
        for (std::uint32_t i = 0;; ++i) {
            std::string packet = FromHex("01000004") + std::string(4, '\0');
            PutLong(reinterpret_cast<std::uint8_t*>(&packet[4]), i);
            const std::uint32_t crc = ~AddCrc(CrcPreset, Bytes(packet), packet.size());
            if ((crc & 0xFFFF) != 0)
                continue;
            packet.resize(12);
            PutLong(reinterpret_cast<std::uint8_t*>(&packet[8]), crc);
            return packet;
        }
    }();
    EXPECT_TRUE(Read(ScriptedSource().Then(zeroCrc)).good);
    EXPECT_FALSE(Read(ScriptedSource().Then(zeroCrc.substr(0, 10))).good);
}

TEST(PacketReader, OverlongLengthIsReadToTheLimitAndFails) {
    const std::string packet = FromHex("01000258") + std::string(600, 'x') + "crc!";
    ScriptedSource source;
    source.Then(packet).Silence(250).Then(Abc);
    EXPECT_EQ(Read(source).payload, "abc");
    const ReadResult failed = Read(ScriptedSource().Then(packet));
    EXPECT_FALSE(failed.good);
    EXPECT_EQ(failed.length, 512U);
}

namespace {

// Steps and blocks of a send: "N3" a new frame of block 3, "R" a repeat, "-" nothing, "F", "C".
std::string Walk(SendCursor& cursor, const std::vector<std::pair<ReplyState, unsigned>>& replies) {
    std::string walk;
    for (const auto& [reply, wanted] : replies) {
        const SendStep step = TakeReply(cursor, reply, wanted);
        const bool writes = step == SendStep::NewFrame || step == SendStep::RepeatFrame;
        if (step == SendStep::NewFrame)
            walk += "N" + std::to_string(cursor.block);
        else
            walk += step == SendStep::RepeatFrame ? "R"
                    : step == SendStep::Nothing   ? "-"
                    : step == SendStep::Finish    ? "F"
                                                  : "C";
        if (writes)
            FrameWritten(cursor, step);
    }
    return walk;
}

SendCursor Cursor(std::uint32_t size, std::uint32_t blockSize = 512) {
    SendCursor cursor;
    cursor.size = size;
    cursor.blockSize = blockSize;
    return cursor;
}

constexpr std::pair<ReplyState, unsigned> Ack = {ReplyAck, 0};
constexpr std::pair<ReplyState, unsigned> Nack = {ReplyNack, 0};
constexpr std::pair<ReplyState, unsigned> Done = {ReplyDone, 0};

constexpr std::pair<ReplyState, unsigned> Send(unsigned block) {
    return {ReplySend, block};
}

} // namespace

TEST(SendCursor, FollowsTheReplies) {
    SendCursor plain = Cursor(1000);
    EXPECT_EQ(Walk(plain, {Ack, Ack, Ack}), "N0N1F");
    EXPECT_EQ(plain.offset, 1000U);
    SendCursor empty = Cursor(0);
    EXPECT_EQ(Walk(empty, {Ack}), "F");

    SendCursor again = Cursor(5000);
    EXPECT_EQ(Walk(again, {Ack, Nack, Nack, Nack, Ack, Nack, Nack, Nack, Nack}), "N0RRRN1RRRC");
    SendCursor early = Cursor(5000);
    EXPECT_EQ(Walk(early, {Nack, Nack, Nack, Nack, Nack, Ack}), "-----N0");
    EXPECT_EQ(early.errors, 0U);

    SendCursor back = Cursor(5000);
    EXPECT_EQ(Walk(back, {Ack, Ack, Ack, Ack, Ack, Send(3)}), "N0N1N2N3N4N3");
    EXPECT_EQ(back.errors, 1U);
    EXPECT_EQ(back.block, 4U);
    EXPECT_EQ(back.offset, 3U * 512);
    EXPECT_EQ(back.end, 6U * 512) << "the running end grows by what was sent";
    EXPECT_EQ(Walk(back, {Send(4), Send(9), Done}), "N4N9F");
}

TEST(SendCursor, NoRequestLeavesTheFile) {
    for (const unsigned block : {2U, 3U, 0xFFFFU, 0x10000U, 0x800000U, 0xFFFFFFFFU}) {
        SendCursor cursor = Cursor(1024);
        EXPECT_EQ(TakeReply(cursor, ReplySend, block), SendStep::NewFrame);
        EXPECT_EQ(cursor.offset, 1024U) << block;
        EXPECT_EQ(cursor.length, 0U) << block;
        EXPECT_EQ(cursor.errors, 1U) << block;
    }
    SendCursor last = Cursor(1025);
    EXPECT_EQ(TakeReply(last, ReplySend, 2), SendStep::NewFrame);
    EXPECT_EQ(last.length, 1U);
    EXPECT_EQ(last.errors, 0U);
}
