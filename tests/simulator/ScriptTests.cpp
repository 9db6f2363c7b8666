#include "VirtualLine.h"

using namespace simtest;

namespace {

// What the device answers to "c", given once the start banner is out.
std::vector<Chunk> ChunksOfC(VirtualLine& line) {
    line.Send(Wire("c"));
    return line.Chunks(2000);
}

const std::string Usual = "\x02"
                          "c\r\nzorbel> ";

} // namespace

TEST(Faults, EachHitsItsCommandOnly) {
    VirtualLine line({}, "# the first stays well\r\n"
                         "2 silent\r\n\tnext  refuse\r\n\r\nnext late 1500\n"
                         "5 split 5 40\nnext split 5 40\n");
    line.Wait(100);
    EXPECT_EQ(line.Ask("c"), Usual);
    EXPECT_EQ(line.Ask("reboot"), ""); // neither answered nor carried out
    EXPECT_EQ(line.Ask("reboot"), "\x01");
    line.Send(Wire("c"));
    EXPECT_EQ(line.Wait(1499), "");
    EXPECT_EQ(line.Wait(1), Usual);

    for (int command = 5; command <= 6; ++command) { // the last piece of each is a short one
        const sim::Millis sent = line.now;
        std::string all;
        std::size_t piece = 0;
        for (const Chunk& chunk : ChunksOfC(line)) {
            EXPECT_EQ(chunk.time, sent + 20 + 40 * piece++);
            EXPECT_EQ(chunk.bytes.size(), std::min<std::size_t>(5, Usual.size() - all.size()));
            all += chunk.bytes;
        }
        EXPECT_EQ(all, Usual);
    }
    EXPECT_EQ(ChunksOfC(line).size(), 1U);
}

TEST(Faults, NoiseStandsAroundTheAnswerAndNeverLooksLikeOne) {
    VirtualLine line({}, "every noise-before 2000 5\n2 noise-after 3 6\n3 noise-before 2000 5\n"
                         "4 noise-before 2000 6");
    line.Wait(100);
    const std::string first = line.Ask("c");
    ASSERT_EQ(first.size(), 2000 + Usual.size());
    const std::string noise = first.substr(0, 2000);
    EXPECT_EQ(first.substr(2000), Usual);
    EXPECT_EQ(noise.find_first_of("\x01\x02"), std::string::npos);
    const std::string second = line.Ask("c");
    EXPECT_EQ(second.substr(0, 2001), noise + '\x02');
    EXPECT_EQ(second.substr(2004), Usual.substr(1));
    EXPECT_EQ(line.Ask("c"), first);
    EXPECT_NE(line.Ask("c"), first);
}

TEST(Faults, AnAnswerIsLostComesTwiceOrComesEarly) {
    VirtualLine line({}, "1 unanswered\nnext answer-twice\nnext early\n");
    line.Wait(100);
    EXPECT_EQ(line.Ask("c"), Usual.substr(1));
    EXPECT_EQ(line.Ask("c"), "\x02" + Usual);
    line.Send("c");
    EXPECT_EQ(line.Wait(0), "\x02");
    line.Send(Wire("c").substr(1));
    EXPECT_EQ(line.Wait(1000), Usual.substr(1));
}

TEST(Script, BadLinesAreReportedByNumberAndGoodOnesKept) {
    const std::string bad = "sometimes refuse\n0 refuse\n-1 refuse\n1x refuse\nnext\nnext explode\n"
                            "next refuse 1\nnext late\nnext late soon\nnext late 14\n"
                            "next late 60001\nnext split 5\n1 late 200\nevery silent\n"
                            "next split 1 1 1\nnext noise-before 1 4294967296\n";
    const std::string text = "1 late 100\nevery silent\n" + bad + "next refuse";
    sim::FaultScript script;
    const std::vector<sim::ScriptError> errors = script.Parse(text);
    ASSERT_EQ(errors.size(), static_cast<std::size_t>(std::count(bad.begin(), bad.end(), '\n')));
    for (std::size_t i = 0; i < errors.size(); ++i)
        EXPECT_TRUE(errors[i].line == i + 3 && !errors[i].text.empty()) << i;
    ASSERT_NE(script.Find(sim::FaultKind::Refuse, 2), nullptr);
    EXPECT_EQ(script.Find(sim::FaultKind::Refuse, 1), nullptr);
    EXPECT_EQ(script.Find(sim::FaultKind::Late, 1)->numbers[0], 100U);
    EXPECT_TRUE(script.Parse("").empty());
    EXPECT_EQ(script.Find(sim::FaultKind::Refuse, 2), nullptr);
}
