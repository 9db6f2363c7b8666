#include "VirtualLine.h"

#include <set>

using namespace simtest;

TEST(Hostile, FillsItsLineAndNoMoreInEveryState) {
    sim::DeviceSetup setup;
    setup.hostile = 7;
    setup.pace = 115200;
    VirtualLine line(setup);
    const std::size_t room = 3000 * setup.pace / 10000; // bytes that the line takes in 3 s
    std::string all;
    std::size_t commands = 0;
    for (const char* command : {"", "rcv x 5000", "c", "upl x", "c", "reboot", "rcv x 600"}) {
        line.Send(Wire(command));
        const std::string said = line.Wait(3000);
        EXPECT_GT(said.size(), room / 2) << "more silent than not: " << command;
        all += said;
        EXPECT_LE(all.size(), ++commands * room) << "faster than its line: " << command;
    }
    EXPECT_NE(all.find("Preparing to load ZoOS\r\n"), std::string::npos) << "it took no command";
}

TEST(Hostile, SaysEverythingAndTheSameForASeed) {
    for (const sim::HostExpects expects :
         {sim::HostExpects::Text, sim::HostExpects::Replies, sim::HostExpects::Packets}) {
        sim::Hostile hostile(1);
        sim::Hostile same(1);
        std::set<sim::BurstKind> kinds;
        std::string all;
        for (int i = 0; i < 3000; ++i) {
            const sim::Burst burst = hostile.Next(expects);
            ASSERT_FALSE(burst.bytes.empty());
            ASSERT_LE(burst.silence, sim::Hostile::LongestSilence);
            ASSERT_EQ(burst.bytes, same.Next(expects).bytes);
            kinds.insert(burst.kind);
            all += burst.bytes;
        }
        EXPECT_EQ(kinds.size(), sim::Hostile::Kinds);
        const std::string overlong("\x01\x00\xFF\xFFp", 5);
        for (const std::string& part :
             {std::string(2000, '\0'), overlong, sim::ControlPacket(1, 0)})
            EXPECT_NE(all.find(part), std::string::npos) << part.substr(0, 20);
    }
}
