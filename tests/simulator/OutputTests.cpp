#include "VirtualLine.h"

using namespace simtest;

namespace {

// The text that a reader expects: `bytes` bytes of lines, the last one cut.
std::string Expected(std::size_t bytes) {
    std::string text;
    for (std::uint32_t number = 1;; ++number) {
        const std::string next = sim::TextLine(number);
        if (text.size() + next.size() >= bytes) {
            text += next.substr(0, bytes - text.size());
            break;
        }
        text += next;
    }
    text.replace(bytes - 2, 2, "\r\n");
    return text;
}

std::string StartBanner() {
    VirtualLine line;
    const std::string start = line.Wait(100);
    return start.substr(0, start.size() - 8); // without the prompt
}

// The bytes of `chunks` until `end`.
std::size_t CountUntil(const std::vector<Chunk>& chunks, sim::Millis end) {
    std::size_t count = 0;
    for (const Chunk& chunk : chunks)
        count += chunk.time <= end ? chunk.bytes.size() : 0;
    return count;
}

} // namespace

TEST(Text, FollowsTheBannerCompletelyAndEndsInAPrompt) {
    EXPECT_EQ(sim::TextLine(1), "00000001 @GNU\\cjqx!(/6=DKRY`gnu|%,3:AHOV]d\r\n");
    for (const std::uint32_t bytes : {2U, 43U, 44U, 46U, 100000U}) {
        sim::DeviceSetup setup;
        setup.startText = bytes;
        VirtualLine line(setup);
        EXPECT_EQ(line.Wait(100), StartBanner() + Expected(bytes) + "zorbel> ") << bytes;
        EXPECT_EQ(line.device.NextDue(), sim::Never);
    }
}

TEST(Text, LetsAnswersThroughBetweenItsLinesAndStops) {
    sim::DeviceSetup setup;
    setup.pace = 9600;
    VirtualLine line(setup);
    line.Wait(1000);
    line.Send(Wire("text 1000000"));
    EXPECT_EQ(line.Wait(200).substr(0, 24), "\x02text 1000000\r\n00000001 ");
    line.Send(Wire("text 5"));
    const std::string more = line.Wait(400);
    const std::size_t answer = more.find('\x01');
    ASSERT_LT(answer, 120U); // a line of text at most stands before it
    EXPECT_EQ(more.substr(answer - 2, 12), "\r\n\x01text is r");
    EXPECT_EQ(more.find("zorbel> "), std::string::npos);
    line.Send(Wire("c"));
    const std::string end = line.Wait(1000);
    EXPECT_EQ(end.substr(end.size() - 14), "\r\n\x02"
                                           "c\r\nzorbel> ");
    EXPECT_EQ(line.device.NextDue(), sim::Never);
}

TEST(Pace, HoldsInTheLongRunAndNeverRunsAhead) {
    for (const std::uint32_t pace : {300U, 9600U, 115200U, 921600U}) {
        sim::DeviceSetup setup;
        setup.pace = pace;
        setup.startText = 1000000;
        VirtualLine line(setup);
        const sim::Millis start = line.now;
        const std::vector<Chunk> chunks = line.Chunks(10000);
        for (const sim::Millis ms : {50U, 1000U, 3333U, 10000U}) {
            const std::size_t exact = ms * pace / 10000;
            const std::size_t count = CountUntil(chunks, start + ms);
            EXPECT_LE(count, exact) << pace << " after " << ms;
            EXPECT_GE(count + pace * 6 / 10000 + 1, exact) << pace << " after " << ms;
        }
        EXPECT_LE(chunks.size(), 10000U / sim::OutputQueue::PaceStep + 1);
    }
}
