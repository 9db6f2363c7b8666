#include "VirtualLine.h"

#include <filesystem>
#include <fstream>

using namespace simtest;

namespace fs = std::filesystem;

namespace {

bool Holds(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

// How the device shows U+00FC in the host's encoding, UTF-16 or UTF-8.
const std::string Strange(sizeof(fs::path::value_type) == 2 ? 1 : 2, '?');

// A folder of its own for one test, with a file in the device folder "a".
class Storage {
public:
    Storage()
        : m_Root(fs::temp_directory_path() /
                 (std::string("zorbel-") +
                  testing::UnitTest::GetInstance()->current_test_info()->name())) {
        fs::remove_all(m_Root);
        fs::create_directories(m_Root / "a" / "folder");
        fs::create_directories(m_Root / "other");
        std::ofstream(m_Root / "a" / "two.txt") << "12";
        std::ofstream(m_Root / "a" / fs::u8path("one\xC3\xBC.mid")) << "1";
        std::ofstream(m_Root / "other" / "hidden.txt") << "1";
    }
    ~Storage() { fs::remove_all(m_Root); }

    sim::DeviceFiles Files() const { return sim::DeviceFiles(m_Root); }

private:
    fs::path m_Root;
};

} // namespace

TEST(Device, AnswersAfterItsDelayThenEchoesThenPrints) {
    VirtualLine line;
    line.Wait(100);
    line.Send(Wire("echo  two words\r"));
    EXPECT_EQ(line.Wait(19), "");
    EXPECT_EQ(line.Wait(1), "\x02"
                            "echo  two words\r\ntwo words\r\nzorbel> ");
    EXPECT_TRUE(Holds(line.Ask("ver"), "\r\nZoOS "));
    EXPECT_TRUE(Holds(line.Ask("help"), "\r\nreboot "));
    EXPECT_EQ(line.Ask("echo \x01\x02\x07"), "\x02"
                                             "echo ???\r\n???\r\nzorbel> ");
    EXPECT_EQ(line.Ask("\r"), "\x02\r\nzorbel> ");
}

TEST(Device, RefusesDamagedAndUnknownLines) {
    VirtualLine line;
    line.Wait(100);
    line.Send(std::string("reboot\n\x2D\x14"));
    EXPECT_EQ(line.Wait(5000), "\x01");
    EXPECT_EQ(line.Ask("Ver 1"), "\x01unknown command: Ver\r\nzorbel> ");
    EXPECT_EQ(line.Ask("text 0").substr(0, 9), "\x01wanted: ");
}

TEST(Device, LeavesABareLineUnanswered) {
    VirtualLine line({}, "1 silent");
    line.Wait(100);
    line.Send(std::string("\n\0\0", 3));
    EXPECT_EQ(line.Wait(1000), "zorbel> ");
    line.Send(std::string("\n\1\0", 3)); // damaged: the first line that counts
    EXPECT_EQ(line.Wait(1000), "");
    EXPECT_EQ(line.Ask("c"), "\x02"
                             "c\r\nzorbel> ");
}

TEST(Device, DirListsTheDeviceFolders) {
    const Storage storage;
    VirtualLine line({}, {}, storage.Files());
    line.Wait(100);
    const std::string all = line.Ask("dir");
    const std::string listing = "/a\r\n           1 one" + Strange + ".mid\r\n" +
                                "           2 two.txt\r\nfiles: 2, bytes: 3\r\n";
    const std::string empty = "files: 0, bytes: 0\r\n";
    EXPECT_EQ(all, "\x02"
                   "dir\r\n/default\r\n" +
                       empty + listing + "/b\r\n" + empty + "/MP3\r\n" + empty + "zorbel> ");
    EXPECT_EQ(line.Ask("dir a"), "\x02"
                                 "dir a\r\n" +
                                     listing + "zorbel> ");
    EXPECT_EQ(line.Ask("dir other"), "\x01"
                                     "cannot list other\r\nzorbel> ");
    EXPECT_EQ(line.Ask("dir ../other")[0], '\x01');
    VirtualLine bare;
    bare.Wait(100);
    EXPECT_TRUE(Holds(bare.Ask("dir"), "no storage"));
}

TEST(Device, RebootShowsTheLoaderBannerThenTheConsoleAgain) {
    VirtualLine line;
    line.Wait(100);
    line.Send(Wire("reboot") + Wire("ver")); // the second line meets a deaf device
    EXPECT_EQ(line.Wait(519), "\x02reboot\r\n");
    EXPECT_EQ(line.Wait(1), "Preparing to load ZoOS\r\n");
    EXPECT_EQ(line.Ask("ver"), "\x01");
    line.Send(std::string("\n\0\0ver", 6)); // a line begun in the loader ends with it
    EXPECT_EQ(line.Wait(1999), "");
    EXPECT_TRUE(Holds(line.Wait(1), "ZoOS console"));
    EXPECT_EQ(line.Ask("ver").substr(0, 4), "\x02ver");
}
