// Files of so many blocks that their numbers wrap around. This takes its time, on lines
// of its own beside the other tests.

#include "rig/DeviceLine.h"

TEST(Transfer, MoreThan256BlocksGoBothWays) {
    const DWORD size = 258 * 512 + 1;
    const std::string content = RandomBytes(size, 7);
    const std::vector<ComPair> pairs = AllComPairs(2);
    DeviceLine receiver(pairs.back());
    receiver.port->SetFast(true); // its pauses would take a minute
    ASSERT_TRUE(receiver.StartReceive(content));
    const auto checkReceived = [&] {
        EXPECT_EQ(Shown(receiver.End(120000)), Shown({0, 0, 259, size, 0}));
        EXPECT_TRUE(receiver.Received() == content);
    };
    std::unique_ptr<DeviceLine> other;
    if (pairs.size() > 1) // both at once
        other = std::make_unique<DeviceLine>(pairs.front());
    else
        checkReceived();
    DeviceLine& sender = other ? *other : receiver;
    ASSERT_TRUE(sender.StartSend(content));
    EXPECT_EQ(Shown(sender.End()), Shown({0, size, 0, size, 0}));
    EXPECT_TRUE(sender.Stored() == content);
    if (other)
        checkReceived();
}
