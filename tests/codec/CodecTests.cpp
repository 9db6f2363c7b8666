// The wire's codecs: checksum, reply lines, terminal text, characters.

#include "link/codec/CodePage.h"
#include "link/codec/CommandSum.h"
#include "link/codec/LogStamp.h"
#include "link/codec/PathName.h"
#include "link/codec/ReplyLine.h"
#include "link/codec/TerminalText.h"
#include "rig/Vectors.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string Encode(const std::string& line) {
    std::vector<std::uint8_t> wire(CommandLineRoom(line.size()));
    std::uint32_t sum = 0xDEADBEEF; // left over from another line
    const std::size_t length = EncodeCommandLine(line.c_str(), sum, wire.data());
    return std::string(wire.begin(), wire.begin() + static_cast<std::ptrdiff_t>(length));
}

// The log that comes of some pieces, each with a time that is but a letter, over and over.
std::string Stamped(const std::vector<std::string>& pieces) {
    LogStamp stamp;
    std::string log;
    char letter = 'A';
    for (const std::string& piece : pieces) {
        const std::string time(LogTimeLength, letter++);
        std::vector<char> out(stamp.StampedSize(piece.data(), piece.size()));
        stamp.Stamp(piece.data(), piece.size(), time.c_str(), out.data());
        log.append(out.begin(), out.end());
        for (std::size_t at = 0; (at = log.find(time, at)) != std::string::npos; ++at)
            log.erase(at, LogTimeLength - 1);
    }
    return log;
}

} // namespace

TEST(LogStamp, EachLineHasTheTimeOfItsFirstByte) {
    EXPECT_EQ(Stamped({"one\r\ntwo\r\n\r\nth", "ree", "\r", "\nfour\r\n", "", "f\ng"}),
              "Aone\r\nAtwo\r\nA\r\nAthree\r\nDfour\r\nFf\nFg");
    EXPECT_EQ(Stamped({"", "\n\n", std::string("\0", 1)}), std::string("B\nB\nC\0", 6));
}

TEST(CommandSum, GoldenLines) {
    const std::vector<WireVector> vectors = CommandLineVectors();
    ASSERT_GE(vectors.size(), 20U);
    for (const WireVector& vector : vectors)
        EXPECT_EQ(Encode(vector.text), vector.wire) << vector.text;
    EXPECT_EQ(Encode(""), Encode("\n"));
}

TEST(ReplyLine, WordsAreWholeLinesInLowerCaseAndABlockFollowsDirectly) {
    const struct {
        std::string line;
        ReplyState state;
        std::uint32_t block;
    } cases[] = {
        {"ack", ReplyAck, 0},
        {"nack", ReplyNack, 0},
        {"cancel", ReplyCancel, 0},
        {"can", ReplyCancel, 0},
        {"done", ReplyDone, 0},
        {"Preparing to load ZoOS", ReplyAck, 0},
        {"send12", ReplySend, 12},
        {"send", ReplySend, 0},
        {"send4294967297", ReplySend, 1},
        {"send 7", ReplySend, 7U - 160U}, // a blank counts with its code minus 48
        {"send\xFF", ReplySend, 0U - 49U},
        {"ack ", ReplyNone, 0},
        {"Ack", ReplyNone, 0},
        {"acks", ReplyNone, 0},
        {" ack", ReplyNone, 0},
        {"", ReplyNone, 0},
        {"canc", ReplyNone, 0},
        {"Send1", ReplyNone, 0},
        {"sen", ReplyNone, 0},
    };
    for (const auto& [line, state, block] : cases) {
        const Reply reply = RecognizeReply(line.data(), line.size());
        EXPECT_EQ(reply.state, state) << line;
        EXPECT_EQ(reply.block, block) << line;
        EXPECT_EQ(reply.shown, state == ReplyNone || line[0] == 'P') << line;
    }
}

TEST(ReplyLine, LongLineKeepsItsFirst260Characters) {
    LineBuffer line;
    for (int i = 0; i < 300; ++i)
        line.Add(static_cast<char>('a' + i % 26));
    EXPECT_EQ(line.length, 260U);
    EXPECT_EQ(line.text[259], 'a' + 259 % 26);
    line.Clear();
    line.Add('x');
    EXPECT_EQ(std::string(line.text, line.length), "x");
}

TEST(TerminalText, LineEndsStayWholeAndTheFirstAnswerCounts) {
    const struct {
        std::string bytes;
        std::uint32_t room;
        std::string text;
        int answer;
    } cases[] = {
        {"ab\r\ncd\n", 64, "ab\r\ncd\r\n", 0},
        {"x\x01y\x02z", 64, "xyz", AnswerRefused},
        {std::string("a\0\xFF", 3), 64, std::string("a\0\xFF", 3), 0},
        {"abcdefgh\x02", 5, "abcd", 0}, // an answer after what is dropped is dropped, too
        {"abc\nd", 5, "abc", 0},
        {"ab\nd", 5, "ab\r\n", 0},
    };
    for (const auto& [bytes, room, text, answer] : cases) {
        std::vector<std::uint8_t> store(room);
        InputBuffer buffer{store.data(), room, 0};
        const auto* const data = reinterpret_cast<const std::uint8_t*>(bytes.data());
        EXPECT_EQ(AppendText(buffer, data, bytes.size()), answer) << bytes;
        EXPECT_EQ(std::string(store.begin(), store.begin() + buffer.count), text);
    }
}

TEST(TerminalText, RawBytesAreKeptWhileThereIsRoomAndTakenFromTheFront) {
    std::vector<std::uint8_t> store(8);
    InputBuffer buffer{store.data(), 8, 0};
    const std::uint8_t raw[] = {1, 2, 13, 10, 0, 255, 7, 8, 9};
    for (int i = 0; i < 2; ++i) {
        AppendRaw(buffer, raw, sizeof(raw));
        EXPECT_EQ(buffer.count, 7U);
    }
    std::uint8_t out[255];
    EXPECT_EQ(TakeFront(buffer, out, 2), 2U);
    EXPECT_EQ(TakeFront(buffer, out + 2, 253), 5U);
    EXPECT_TRUE(std::equal(raw, raw + 7, out));
    EXPECT_EQ(TakeFront(buffer, out, 255), 0U);
}

TEST(CodePage, CharactersOfSeveralBytesStayWhole) {
    constexpr unsigned char japanese[] = {0x81, 0x9F, 0xE0, 0xFC, 0, 0};
    constexpr unsigned char none[] = {0, 0};
    UseCodePage(japanese, false);
    EXPECT_STREQ(BaseName("C:\\a\\\x95\x5C.txt"), "\x95\x5C.txt") << "no backslash";
    EXPECT_STREQ(BaseName("\x95\x5C\\b"), "b");
    EXPECT_STREQ(BaseName("\\\x95"), "\x95") << "cut in the middle";
    EXPECT_EQ(WholeCharacters("a\x95\x5C", 3), 3U);
    EXPECT_EQ(WholeCharacters("a\x95\x95", 3), 3U);
    EXPECT_EQ(WholeCharacters("\x95\x95\x95", 3), 2U);
    UseCodePage(none, true);
    const std::string text = "a\xC3\xA4\xE6\x97\xA5\xF0\x9F\x98\x80";
    const std::size_t whole[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10};
    for (std::size_t count = 0; count <= text.size(); ++count)
        EXPECT_EQ(WholeCharacters(text.c_str(), count), whole[count]) << count;
    EXPECT_EQ(WholeCharacters("\x80\x80\x80\x80\x80", 5), 5U) << "no UTF-8: not waited for";
    UseCodePage(none, false);
    EXPECT_EQ(WholeCharacters("\x95", 1), 1U);
}
