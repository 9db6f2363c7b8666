// A batch: its way through the list, the records and the device's names, totals and buffers.

#include "base/Text.h"
#include "batch/DeviceName.h"
#include "batch/PackedList.h"
#include "batch/TransferBatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

const std::string Name(49, 'x'); // 200 of them would fill a first buffer to its last byte

std::string Times(int count, const std::string& text) {
    return count == 0 ? "" : Times(count / 2, text + text) + (count % 2 == 0 ? "" : text);
}

class Batch : public testing::Test, protected TransferBatch {
protected:
    void Start(std::string list, bool asIs = false, std::uint64_t bytes = 0) { // a bar after each
        std::replace(list.begin(), list.end(), '|', '\0');
        EXPECT_TRUE(Allocate() && TakeList(list.c_str(), list.size() + 1, 0) && (asIs || Reset()));
        Begin(m_FileList, false, bytes);
    }
    void Send(std::uint32_t size, std::uint32_t blocks = 1) {
        RecordSent(blocks, 2, size);
        FinishFile(size);
    }
    // "blocks/errors/size " or "code/0/0 " of each record, "name," of each name.
    std::string Outcome() const {
        std::string all;
        char text[40];
        TransferResult got;
        for (const char* at = m_Results; (at = GetResult(at, got)) != nullptr; all += text)
            FormatText(text, "%u/%u/%u ", unsigned{got.code}, unsigned{got.errors}, got.size);
        for (const char* name = m_DeviceNames; *name; name = NextName(name))
            all += std::string(name) + ",";
        return all;
    }
    std::string SendAll() {
        while (FindFile(false) == Search::Found)
            Send(1);
        return AtEnd() ? Outcome() : "not at the end";
    }
};

} // namespace

TEST_F(Batch, WrongAndFailedFilesHaveRecordsButNoNames) {
    Start("C:\\bad name|C:\\f g\\one.bin|two|C:\\-worse|");
    EXPECT_TRUE(AtFirstOfList() && FindFile(false) == Search::Found && !AtFirstOfList());
    Record(ResultSendError);
    FinishFile(30);
    EXPECT_EQ(SendAll(), "65532/0/0 65533/0/0 1/2/1 65532/0/0 two,");
}

TEST_F(Batch, AskedNameMustBeValidAndIsForOneFileOnly) {
    Start("C:\\my song!|C:\\no file at all?\\x|C:\\no no|C:\\good|");
    EXPECT_EQ(FindFile(true), Search::WantsName);
    EXPECT_FALSE(CopyText(m_DeviceFileName, "folder\\still bad?") && Rename());
    EXPECT_EQ(FindFile(true), Search::WantsName) << "nothing is decided yet";
    EXPECT_TRUE(CopyText(m_DeviceFileName, "a folder\\renamed.txt") && Rename());
    Send(4);
    EXPECT_EQ(FindFile(true), Search::WantsName);
    RefuseName();
    EXPECT_EQ(SendAll(), "1/2/4 65532/0/0 65532/0/0 1/2/1 renamed.txt,good,");
}

TEST_F(Batch, NothingOfACanceledOneIsLeftToTheNext) {
    Start("a|bb|");
    SendAll();
    Record(ResultCancelled);
    m_CancelRequested = 1;
    EXPECT_EQ(Outcome(), "1/2/1 1/2/1 65535/0/0 a,bb,");
    Start("C:\\all wrong|C:\\+|");
    EXPECT_EQ(m_CancelRequested + m_BatchBytesDone, 0U);
    EXPECT_EQ(SendAll(), "65532/0/0 65532/0/0 ");
}

TEST_F(Batch, LongListsAndPathsFitWhole) {
    const std::string n400(400, 'n');
    Start(Times(3000, "C:\\" + Name + "|") + n400 + "|C:\\" + n400 + "\\last|");
    EXPECT_TRUE(SendAll() ==
                Times(3000, "1/2/1 ") + "65532/0/0 1/2/1 " + Times(3000, Name + ",") + "last,");
}

TEST_F(Batch, BuffersThatAreTooSmallKeepWhatFitsWhole) {
    Start(Times(2000, Name + "|"), true);
    EXPECT_TRUE(SendAll() == Times(1249, "1/2/1 ") + Times(199, Name + ","));
}

TEST_F(Batch, NumbersBeyondTheirFieldsStayTheLargest) {
    Start("a|a|a|a|", false, 0x100000005);
    for (const std::uint32_t blocks : {0U, 0xFFFBU, 0xFFFCU, 0x10000U})
        Send(4000000200, blocks);
    EXPECT_EQ(std::min(m_BatchBytesTotal, m_BatchBytesDone), 0xFFFFFFFF);
    EXPECT_EQ(Percent(m_BatchBytesDone / 2, m_BatchBytesTotal), 49U);
    EXPECT_EQ(Outcome(), "1/2/4000000200 " + Times(3, "65531/2/4000000200 "));
}

TEST_F(Batch, ImageGoesUnderAnyNameAndLeavesTheList) {
    Start("one|");
    Begin("C:\\an image!\0", true, 9);
    EXPECT_TRUE(m_ImageMode && !AtFirstOfList());
    TakeOwnName();
    Send(9);
    EXPECT_EQ(SendAll() + m_FileList, "1/2/9 an image!,one");
}

TEST(DeviceName, Rules) {
    for (const char* name : {"readme.txt", "a", "(1).txt", "my_file+2.bin", "Game.app", "_x_",
                             "C:\\some folder\\ok.txt", "9"})
        EXPECT_EQ(ValidDeviceName(name), 1) << name;
    for (const char* name : {".profile", "-x", "name.", "file+", "my file.txt", "n%.txt", "",
                             "C:\\folder\\", "caf\xE9", "a/b", "+", "x-"})
        EXPECT_EQ(ValidDeviceName(name), 0) << name;
    EXPECT_EQ(ValidDeviceName(std::string(63, 'x').c_str()), 1);
    EXPECT_EQ(ValidDeviceName(std::string(64, 'x').c_str()), 0);
    EXPECT_FALSE(IsCharIn('\0', DeviceNameChars));
}
