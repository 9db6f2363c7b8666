// Files to the device and from it, with the golden frames and a host made of them.

#include "VirtualLine.h"

#include "rig/Vectors.h"

#include <fstream>
#include <numeric>
#include <sstream>

using namespace simtest;

namespace fs = std::filesystem;

namespace {

std::string Frame(unsigned block, const std::string& data) {
    std::string covered;
    for (const std::size_t word : {std::size_t{block}, data.size()})
        covered += {static_cast<char>(word), static_cast<char>(word >> 8)};
    covered += data;
    const std::uint32_t crc = sim::FrameCrc(covered);
    for (int bits = 0; bits < 32; bits += 8)
        covered += static_cast<char>(crc >> bits);
    return "C" + covered;
}

class TransferLine : public testing::Test, protected Storage {
protected:
    VirtualLine Line(std::string_view script = {}) {
        VirtualLine line({}, script, sim::DeviceFiles(root));
        line.Wait(100);
        return line;
    }

    std::string Stored(const std::string& path) {
        std::ifstream file(root / path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    // Sends bytes and returns what the device says within 250 ms.
    static std::string Say(VirtualLine& line, const std::string& bytes) {
        line.Send(bytes);
        return line.Wait(250);
    }
};

} // namespace

TEST(DeviceFrames, GoldenOnesAreReadAndNoBitMayTurn) {
    for (const FrameVector& vector : FrameVectors("frame")) {
        for (std::size_t bit = 0; bit <= 8 * vector.wire.size(); ++bit) {
            std::string wire = vector.wire;
            if (bit < 8 * wire.size())
                wire[bit / 8] = static_cast<char>(wire[bit / 8] ^ (1 << (bit % 8)));
            sim::FrameCollector collector;
            collector.Begin(sim::BlockLayout, 512);
            auto result = sim::FrameCollector::Result::More;
            for (std::size_t i = 0; i < wire.size() && result == sim::FrameCollector::Result::More;
                 ++i)
                result = collector.Add(static_cast<std::uint8_t>(wire[i]));
            const bool complete = result == sim::FrameCollector::Result::Complete;
            EXPECT_EQ(complete, bit == 8 * vector.wire.size()) << bit;
            EXPECT_EQ(complete ? collector.Data() : vector.data, vector.data);
        }
    }
    for (const FrameVector& vector : FrameVectors("data"))
        EXPECT_EQ(sim::DataPacket(static_cast<std::uint8_t>(vector.number), vector.data),
                  vector.wire);
    for (const FrameVector& vector : FrameVectors("control"))
        EXPECT_EQ(sim::ControlPacket(static_cast<std::uint16_t>(vector.number),
                                     static_cast<std::uint16_t>(vector.value)),
                  vector.wire);
}

TEST_F(TransferLine, TakesAFileBlockByBlockAndLists) {
    VirtualLine line = Line();
    line.Send(Wire("rcv /a/x.bin 515\r"));
    EXPECT_EQ(line.Wait(39), "\x02rcv /a/x.bin 515\r\n");
    EXPECT_EQ(line.Wait(1), "ack\r\n");
    const std::string data = std::string(512, 'd') + "end";
    EXPECT_EQ(Say(line, Frame(0, data.substr(0, 512))), "ack\r\n");
    EXPECT_EQ(Say(line, Frame(1, "end")), "ack\r\nzorbel> ");
    EXPECT_EQ(Stored("a/x.bin"), data);
    EXPECT_NE(line.Ask("dir a").find("515 x.bin"), std::string::npos);
    EXPECT_EQ(line.Ask("rcv /a/../x 5")[0], '\x01');
    EXPECT_EQ(line.Ask("rcv /a/nul.txt 5")[0], '\x01');
    EXPECT_EQ(line.Ask("rcv x 99999999999")[0], '\x01');
}

TEST_F(TransferLine, AsksByNumberOnceAFrameWasBad) {
    VirtualLine line = Line();
    line.Ask("rcv x.bin 1024");
    std::string damaged = Frame(0, std::string(512, 'd'));
    damaged[100] = 'e';
    line.Send(damaged);
    EXPECT_EQ(line.Wait(319), "");
    EXPECT_EQ(line.Wait(1), "send0\r\n");
    EXPECT_EQ(Say(line, Frame(1, std::string(512, 'd'))), "send0\r\n") << "not yet due";
    EXPECT_EQ(Say(line, Frame(0, std::string(511, 'd'))), "send0\r\n") << "too short";
    EXPECT_EQ(Say(line, Frame(0, std::string(512, 'd'))), "send1\r\n");
    EXPECT_EQ(line.Wait(2000), "send1\r\n") << "after a silence";
    EXPECT_EQ(Say(line, Frame(1, std::string(512, 'e'))), "done\r\nzorbel> ");
    EXPECT_EQ(Stored("default/x.bin"), std::string(512, 'd') + std::string(512, 'e'));
}

TEST_F(TransferLine, RepliesComeTwiceEarlyAndWithTextAndTheDeviceIsDeafOrRestarts) {
    VirtualLine line = Line("1 twice 0 1\n1 hasty 1 1\n1 text 2 3\n1 deaf 2 500\n1 restart 3\n");
    EXPECT_EQ(line.Ask("rcv x.bin 2048").substr(1), "rcv x.bin 2048\r\nack\r\nack\r\n");
    const std::string data(512, 'd');
    line.Send("C");
    EXPECT_EQ(line.Wait(1), "ack\r\n");
    EXPECT_EQ(Say(line, Frame(0, data).substr(1)), "");
    EXPECT_EQ(Say(line, Frame(1, data)), "...\r\nack\r\n");
    EXPECT_EQ(Say(line, Frame(2, data)), "") << "nothing is heard";
    line.Wait(250);
    EXPECT_EQ(Say(line, Frame(2, data)), "");
    EXPECT_EQ(line.Wait(300), "Preparing to load ZoOS\r\n");
    EXPECT_FALSE(fs::exists(root / "default/x.bin"));
}

TEST_F(TransferLine, GivesAFilePacketByPacket) {
    fs::create_directories(root / "b");
    std::ofstream(root / "b" / "y", std::ios::binary) << std::string(512, 'y') << "tail";
    VirtualLine line = Line();
    EXPECT_EQ(line.Ask("upl /b/none")[0], '\x01');
    EXPECT_EQ(line.Ask("pc on"), "\x02");
    EXPECT_EQ(line.Ask("upl /b/y"), "\x02");
    EXPECT_EQ(Say(line, sim::ControlPacket(5, 0)), sim::ControlPacket(1, 0));
    const std::string first = sim::DataPacket(0, std::string(512, 'y'));
    EXPECT_EQ(Say(line, sim::ControlPacket(3, 0)), first);
    EXPECT_EQ(Say(line, sim::ControlPacket(3, 0)), first) << "as often as it is asked for";
    EXPECT_EQ(Say(line, "x" + sim::ControlPacket(3, 1)), "");
    line.Wait(300);
    EXPECT_EQ(Say(line, sim::ControlPacket(3, 1)), sim::DataPacket(1, "tail"));
    EXPECT_EQ(Say(line, sim::ControlPacket(3, 2)), sim::DataPacket(2, ""));
    EXPECT_EQ(Say(line, sim::ControlPacket(2, 2)), "");
    EXPECT_EQ(line.Ask("pc off"), "\x02pc off\r\nzorbel> ");
}

TEST_F(TransferLine, TheExampleOfAScriptDoesWhatItsPageTells) {
    std::ifstream file(std::string(ZO_EXAMPLES) + "/faults.txt");
    VirtualLine line = Line(std::string(std::istreambuf_iterator<char>(file), {}));
    const std::string usual = line.Ask("ver");
    EXPECT_EQ(line.Ask("ver"), "\x01");
    EXPECT_EQ(line.Ask("ver") + line.Ask("ver"), "");
    EXPECT_EQ(line.Wait(1000), usual);
    EXPECT_EQ(line.Ask("ver").size(), usual.size() + 20);
    line.Send(Wire("ver"));
    EXPECT_EQ(line.Chunks(2000).size(), (usual.size() + 3) / 4);

    std::string data(3000, '\0');
    std::iota(data.begin(), data.end(), '\0');
    for (const char* talk :
         {"0 ack 1 ack 2 nack 2 nack 2 ack 3 ack 4 ack 5 ack",
          "0 ack 1 ack 2 ack 3 send1 1 send4 4 send5 5 done", "0 ack 1 ack 2 ack 3 cancel"}) {
        fs::remove(root / "a" / "x");
        Say(line, Wire("rcv /a/x 3000"));
        std::istringstream words(talk);
        std::string reply;
        for (unsigned block = 0; words >> block >> reply;) {
            const std::string part = data.substr(std::size_t{512} * block, 512);
            const std::string said = Say(line, Frame(block, part));
            EXPECT_EQ(said.substr(0, said.find('\r')), reply) << talk;
        }
        EXPECT_EQ(Stored("a/x"), reply == "cancel" ? "" : data) << talk;
    }
    std::ofstream(root / "a" / "x", std::ios::binary) << data;
    for (const char* text : {"c", "pc on", "upl /a/x"})
        EXPECT_EQ(line.Ask(text)[0], '\x02');
    Say(line, sim::ControlPacket(5, 0));
    for (const auto& [number, good] :
         {std::pair(0, true), std::pair(1, false), std::pair(1, false), std::pair(1, true)})
        EXPECT_EQ(Say(line, sim::ControlPacket(3, static_cast<std::uint16_t>(number))) ==
                      sim::DataPacket(static_cast<std::uint8_t>(number),
                                      data.substr(static_cast<std::size_t>(number) * 512, 512)),
                  good)
            << number;
}
