// The wire's codecs: checksum, reply lines, terminal text, characters.

#include "link/codec/CodePage.h"
#include "link/codec/CommandSum.h"
#include "link/codec/LogStamp.h"
#include "link/codec/PackedList.h"
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

Reply Recognize(const std::string& line) {
    return RecognizeReply(line.data(), line.size());
}

// What an input buffer of `size` bytes holds after an append.
std::string Appended(const std::string& bytes, std::uint32_t size, std::uint8_t* answer = nullptr) {
    std::vector<std::uint8_t> store(size);
    InputBuffer buffer{store.data(), size, 0};
    const std::uint8_t seen =
        AppendText(buffer, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    if (answer)
        *answer = seen;
    return std::string(store.begin(), store.begin() + buffer.count);
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
}

TEST(CommandSum, LineEndsAreOutsideTheSum) {
    const std::string sumOfC = FromHex("C600");
    EXPECT_EQ(Encode("c"), "c\n" + sumOfC);
    EXPECT_EQ(Encode("c\n"), "c\n" + sumOfC);
    EXPECT_EQ(Encode("c\r\n"), "c\r\n" + sumOfC);
    EXPECT_EQ(Encode("c\r"), "c\r\n" + sumOfC);
    EXPECT_EQ(Encode(""), FromHex("0A0000"));
    EXPECT_EQ(Encode("\r\n\r\n"), FromHex("0D0A0D0A0000"));
}

TEST(CommandSum, HighCharactersCountAsNegative) {
    // 0x80 widens to FFFFFF80, which shifts to FFFFFF00: bit 16 is set for the next character.
    EXPECT_EQ(Encode("\x80"), FromHex("800A00FF"));
    EXPECT_EQ(Encode("\x80"
                     "A"),
              FromHex("80410A83FE"));
}

TEST(ReplyLine, WordsCountOnlyAsWholeLinesInLowerCase) {
    EXPECT_EQ(Recognize("ack").state, ReplyAck);
    EXPECT_EQ(Recognize("nack").state, ReplyNack);
    EXPECT_EQ(Recognize("cancel").state, ReplyCancel);
    EXPECT_EQ(Recognize("can").state, ReplyCancel);
    EXPECT_EQ(Recognize("done").state, ReplyDone);
    EXPECT_FALSE(Recognize("ack").shown);
    for (const char* text : {"ack ", "Ack", "acks", " ack", "", "canc", "Send1", "sen"}) {
        EXPECT_EQ(Recognize(text).state, ReplyNone) << text;
        EXPECT_TRUE(Recognize(text).shown) << text;
    }
    EXPECT_EQ(Recognize("Preparing to load ZoOS").state, ReplyAck);
    EXPECT_TRUE(Recognize("Preparing to load ZoOS").shown);
}

TEST(ReplyLine, SendCarriesTheBlockDirectly) {
    EXPECT_EQ(Recognize("send12").state, ReplySend);
    EXPECT_EQ(Recognize("send12").block, 12U);
    EXPECT_EQ(Recognize("send").block, 0U);
    EXPECT_EQ(Recognize("send4294967297").block, 1U);
    // A blank counts with its code minus 48, whatever that gives.
    EXPECT_EQ(Recognize("send 7").block, 7U - 160U);
    EXPECT_EQ(Recognize("send\xFF").block, 0U - 49U);
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

TEST(TerminalText, LineEndsAndAnswerBytes) {
    std::uint8_t answer = 9;
    EXPECT_EQ(Appended("ab\r\ncd\n", 64, &answer), "ab\r\ncd\r\n");
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(Appended("x\x01y\x02z", 64, &answer), "xyz");
    EXPECT_EQ(answer, AnswerRefused); // the first one counts
    EXPECT_EQ(Appended(std::string("a\0\xFF", 3), 64), std::string("a\0\xFF", 3));
}

TEST(TerminalText, FullBufferDropsTheRestWholeLineEndsOnly) {
    std::uint8_t answer = 9;
    EXPECT_EQ(Appended("abcdefgh\x02", 5, &answer), "abcd");
    EXPECT_EQ(answer, 0) << "an answer behind the drop is dropped too";
    EXPECT_EQ(Appended("abc\nd", 5), "abc");
    EXPECT_EQ(Appended("ab\nd", 5), "ab\r\n");

    std::vector<std::uint8_t> store(8);
    InputBuffer buffer{store.data(), 8, 0};
    const std::uint8_t raw[] = {1, 2, 13, 10, 0, 255, 7, 8, 9};
    AppendRaw(buffer, raw, sizeof(raw));
    EXPECT_EQ(buffer.count, 7U);
    EXPECT_TRUE(std::equal(raw, raw + 7, store.begin()));
    AppendRaw(buffer, raw, sizeof(raw));
    EXPECT_EQ(buffer.count, 7U);
}

TEST(TerminalText, TakingLeavesTheRestAtTheFront) {
    std::vector<std::uint8_t> store = {'a', 'b', 'c', 'd', 'e', 0};
    InputBuffer buffer{store.data(), 6, 5};
    std::uint8_t out[255];
    EXPECT_EQ(TakeFront(buffer, out, 2), 2U);
    EXPECT_EQ(TakeFront(buffer, out, 255), 3U);
    EXPECT_EQ(std::string(out, out + 3), "cde");
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
