#include "VirtualLine.h"

#include <fstream>

using namespace simtest;

namespace fs = std::filesystem;

namespace {

bool Holds(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

// How the device shows U+00FC in the host's encoding, UTF-16 or UTF-8.
const std::string Strange(sizeof(fs::path::value_type) == 2 ? 1 : 2, '?');

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
    for (const char* file : {"a/two.txt", "a/one\xC3\xBC.mid", "other/hidden.txt"}) {
        const fs::path path = storage.root / fs::u8path(file);
        fs::create_directories(path.parent_path() / "folder");
        std::ofstream(path) << (file[2] == 't' ? "12" : "1");
    }
    VirtualLine line({}, {}, sim::DeviceFiles(storage.root));
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
