#include "VirtualLine.h"

#include <set>

using namespace simtest;

namespace {

// What a hostile device says while it starts, idles, takes a file, gives one and loads.
std::string Session(std::uint32_t seed) {
    sim::DeviceSetup setup;
    setup.hostile = seed;
    setup.pace = 115200;
    VirtualLine line(setup);
    const sim::Millis wait = 3000;
    const std::size_t room = wait * setup.pace / 10000; // bytes that the line takes meanwhile
    std::string all;
    std::size_t commands = 0;
    for (const char* command : {"", "rcv x 5000", "c", "upl x", "c", "reboot", "rcv x 600"}) {
        line.Send(Wire(command));
        const std::string said = line.Wait(wait);
        EXPECT_GT(said.size(), room / 2) << "more silent than not: " << command;
        all += said;
        EXPECT_LE(all.size(), ++commands * room) << "faster than its line: " << command;
    }
    return all;
}

} // namespace

TEST(Hostile, FillsItsLineInEveryStateTheSameWayForASeed) {
    const std::string first = Session(7);
    EXPECT_EQ(first, Session(7));
    EXPECT_NE(first, Session(8));
    EXPECT_NE(first.find("Preparing to load ZoOS\r\n"), std::string::npos)
        << "no command came through";
}

TEST(Hostile, SaysEverythingWhateverTheHostExpects) {
    for (const sim::HostExpects expects :
         {sim::HostExpects::Text, sim::HostExpects::Replies, sim::HostExpects::Packets}) {
        sim::Hostile hostile(1);
        std::set<sim::BurstKind> kinds;
        std::string all;
        for (int i = 0; i < 3000; ++i) {
            const sim::Burst burst = hostile.Next(expects);
            ASSERT_FALSE(burst.bytes.empty());
            ASSERT_LE(burst.silence, sim::Hostile::LongestSilence);
            kinds.insert(burst.kind);
            all += burst.bytes;
        }
        EXPECT_EQ(kinds.size(), sim::Hostile::Kinds);
        std::string flood;
        for (int i = 0; i < 2000; ++i)
            flood += "send4294967295\n";
        const std::string overlong("\x01\x00\xFF\xFFp", 5);
        for (const std::string& part :
             {flood, std::string(2000, '\0'), overlong, sim::ControlPacket(1, 0)})
            EXPECT_NE(all.find(part), std::string::npos) << part.substr(0, 20);
    }
}
