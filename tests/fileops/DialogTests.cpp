// The summary, the small dialogs and the file dialogs.

#include "tests/fileops/OperationTest.h"

namespace {

std::string Cell(HWND dialog, int row, int column) {
    char text[300] = {};
    LVITEMA item = {};
    item.iSubItem = column;
    item.pszText = text;
    item.cchTextMax = sizeof(text);
    SendDlgItemMessageA(dialog, IDC_SUMMARY_LIST, LVM_GETITEMTEXTA, static_cast<WPARAM>(row),
                        reinterpret_cast<LPARAM>(&item));
    return text;
}

std::string Row(HWND dialog, int row) {
    std::string all;
    for (int column = 0; column < 6; ++column)
        all += (column ? "|" : "") + Cell(dialog, row, column);
    return all;
}

int Rows(HWND dialog) {
    return static_cast<int>(SendDlgItemMessageA(dialog, IDC_SUMMARY_LIST, LVM_GETITEMCOUNT, 0, 0));
}

int Image(HWND dialog, int row) {
    LVITEMA item = {};
    item.mask = LVIF_IMAGE;
    item.iItem = row;
    SendDlgItemMessageA(dialog, IDC_SUMMARY_LIST, LVM_GETITEMA, 0, reinterpret_cast<LPARAM>(&item));
    return item.iImage;
}

// True when the middle of a button shows its text.
bool IsDrawn(HWND button) {
    RECT rect = {};
    GetClientRect(button, &rect);
    const HDC context = GetDC(button);
    bool drawn = false;
    for (int x = rect.right / 4; x < rect.right * 3 / 4; ++x)
        drawn = drawn || GetPixel(context, x, rect.bottom / 2) !=
                             GetPixel(context, rect.right / 4, rect.bottom / 2);
    ReleaseDC(button, context);
    return drawn;
}

void ExpectLaidOut(HWND dialog, int size) {
    MoveWindow(dialog, 40, 60, size, size * 3 / 5, TRUE);
    UpdateWindow(dialog);
    RECT client = {};
    GetClientRect(dialog, &client);
    RECT list = RectOf(GetDlgItem(dialog, IDC_SUMMARY_LIST));
    RECT button = RectOf(GetDlgItem(dialog, IDOK));
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&list), 2);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&button), 2);
    EXPECT_TRUE(list.left == 5 && list.right == client.right - 5) << size;
    EXPECT_TRUE(button.top - list.bottom == 6 && client.bottom - button.bottom == 4) << size;
    EXPECT_TRUE(client.right > button.right && list.bottom - list.top > 80) << "usable";
    EXPECT_TRUE(IsDrawn(GetDlgItem(dialog, IDOK))) << size;
}

// The clipboard's text after Ctrl+C in a list, whose rows are all selected or none.
std::wstring Copied(HWND list, bool selected, int row = -1) {
    LVITEMA state = {};
    state.stateMask = LVIS_SELECTED;
    state.state = selected ? LVIS_SELECTED : 0;
    SendMessageA(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(&state));
    BYTE keys[256] = {};
    EXPECT_TRUE(OpenClipboard(nullptr) && EmptyClipboard() && CloseClipboard());
    SetKeyboardState(keys);
    SendMessageA(list, WM_KEYDOWN, 'C', 0);
    EXPECT_FALSE(IsClipboardFormatAvailable(CF_UNICODETEXT)) << "a mere letter";
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys);
    SendMessageA(list, WM_KEYDOWN, 'C', 0);
    keys[VK_CONTROL] = 0;
    SetKeyboardState(keys);
    EXPECT_TRUE(OpenClipboard(nullptr));
    const HANDLE data = GetClipboardData(CF_UNICODETEXT);
    const auto* const text = static_cast<const wchar_t*>(GlobalLock(data));
    std::wstring copied = text ? text : L"nothing";
    GlobalUnlock(data);
    CloseClipboard();
    return copied;
}

// The text that comes up when the mouse stays where it is over the summary.
std::string Tip(HWND dialog) {
    HWND tip = FindWindowA(TOOLTIPS_CLASSA, nullptr);
    while (tip && GetWindow(tip, GW_OWNER) != dialog)
        tip = FindWindowExA(nullptr, tip, TOOLTIPS_CLASSA, nullptr);
    char text[300] = {};
    TTTOOLINFOA tool = {};
    tool.cbSize = sizeof(tool);
    tool.lpszText = text;
    return SendMessageA(tip, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool)) ? text : "";
}

std::string TipOver(HWND dialog, int row, int column) {
    const HWND list = GetDlgItem(dialog, IDC_SUMMARY_LIST);
    RECT cell = {};
    cell.left = LVIR_LABEL;
    cell.top = column;
    SendMessageA(list, LVM_GETSUBITEMRECT, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(&cell));
    SendMessageA(list, WM_MOUSEMOVE, 0, MAKELPARAM(cell.left + 8, cell.top + 4));
    return Tip(dialog);
}

class DialogTest : public OperationTest {
protected:
    // Opens a modal dialog by its command and handles it.
    void Modal(WORD command, const char* title, const ModalScript::Action& action) {
        EXPECT_TRUE(Ended());
        const ModalScript script({{title, action}});
        Command(command);
    }
};

} // namespace

TEST_F(DialogTest, SummaryListsTheBatchAndReturnsToItsPlace) {
    StartWithDevice("2 cancel 0");
    terminal->Settings.m_DisplaySummary = 1;
    const std::string good = File("good.txt", std::string(600, 'g'));
    const std::string failing = File("failing.txt", "f");
    RECT place = {};
    const auto look = [&](HWND dialog) {
        EXPECT_TRUE(IsCentered(dialog)) << "it was never shown before";
        ASSERT_EQ(Rows(dialog), 4);
        EXPECT_EQ(Row(dialog, 0), good + "|Sent|good.txt|600|2|0");
        EXPECT_EQ(Row(dialog, 1), "C:\\wrong name|Wrong file name||||");
        EXPECT_EQ(Row(dialog, 2), failing + "|Error during sending file||||");
        EXPECT_EQ(Row(dialog, 3), good + "|Sent|good.txt|600|2|0");
        EXPECT_EQ(Image(dialog, 0), 4);
        EXPECT_EQ(Image(dialog, 1), 0);
        EXPECT_EQ(Image(dialog, 2), 1);
        for (const int size : {10, 500, 600, 500})
            ExpectLaidOut(dialog, size);
        SendDlgItemMessageA(dialog, IDC_SUMMARY_LIST, LVM_SETCOLUMNWIDTH, 1, 77);
        const RECT wanted = {40, 60, 540, 360};
        EXPECT_TRUE(WaitUntil([&] {
            place = RectOf(dialog);
            return EqualRect(&place, &wanted);
        }));
        PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    {
        const ModalScript summary({{"Sent status", look}});
        EXPECT_EQ(HandOver(Packed({good, "C:\\wrong name", failing, good})), 1);
        EXPECT_TRUE(Ended() && WaitUntil([&] { return summary.Done(); }));
    }
    Modal(CMD_SUMMARY, "Sent status", [&](HWND dialog) {
        EXPECT_TRUE(WaitUntil([&] {
            const RECT again = RectOf(dialog);
            return EqualRect(&again, &place);
        }));
        EXPECT_EQ(SendDlgItemMessageA(dialog, IDC_SUMMARY_LIST, LVM_GETCOLUMNWIDTH, 1, 0), 77);
        EXPECT_EQ(SendDlgItemMessageA(dialog, IDC_SUMMARY_LIST, LVM_GETCOLUMNWIDTH, 0, 0), 140);
        // A list that comes while its dialog is open is listed here.
        EXPECT_EQ(HandOver(Packed({"C:\\one wrong", "C:\\two wrong"})), 0);
        EXPECT_TRUE(WaitUntil([&] { return Rows(dialog) == 2; }));
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    });
}

TEST_F(DialogTest, SummaryIsCopiedAndShowsClippedCells) {
    Start();
    EXPECT_EQ(HandOver(Packed({"C:\\one wrong", "C:\\two wrong"})), 0);
    Modal(CMD_SUMMARY, "Sent status", [&](HWND dialog) {
        const HWND list = GetDlgItem(dialog, IDC_SUMMARY_LIST);
        EXPECT_EQ(GetFocus(), list) << "it gets the keys";
        const std::wstring titles = L"Name\tStatus\tZorbel name\tSize\tBlocks\tErrors\r\n";
        const std::wstring one = L"C:\\one wrong\tWrong file name\t\t\t\t\r\n";
        const std::wstring two = L"C:\\two wrong\tWrong file name\t\t\t\t\r\n";
        EXPECT_EQ(Copied(list, false), titles + one + two);
        EXPECT_EQ(Copied(list, true, 1), titles + two);
        EXPECT_EQ(Copied(list, true), titles + one + two);

        EXPECT_EQ(TipOver(dialog, 0, 1), "") << "there is room for it";
        SendMessageA(list, LVM_SETCOLUMNWIDTH, 0, 60);
        SendMessageA(list, LVM_SETCOLUMNWIDTH, 1, 60);
        EXPECT_EQ(TipOver(dialog, 1, 0), "C:\\two wrong");
        EXPECT_EQ(TipOver(dialog, 0, 1), "Wrong file name");
        EXPECT_EQ(TipOver(dialog, 0, 2), "");
        EXPECT_EQ(TipOver(dialog, 0, 1), "Wrong file name");
        EXPECT_EQ(TipOver(dialog, 0, 0), "C:\\one wrong");
        SendMessageA(list, LVM_DELETEALLITEMS, 0, 0);
        EXPECT_EQ(Tip(dialog), "") << "the rows are listed again";
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    });
}

TEST_F(DialogTest, SmallDialogsTakeWhatIsRight) {
    Start();
    const int number = ReadComPair().number;
    Modal(CMD_PORT_OTHER, "Open Port", [&](HWND dialog) {
        EXPECT_TRUE(IsCentered(dialog));
        EXPECT_EQ(TextOf(GetDlgItem(dialog, IDC_NAME)), "0");
        SetDlgItemTextA(dialog, IDC_NAME, "");
        SendMessageA(dialog, WM_COMMAND, IDOK, 0);
        EXPECT_TRUE(IsWindow(dialog));
        SetDlgItemInt(dialog, IDC_NAME, static_cast<UINT>(number), FALSE);
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    });
    Modal(CMD_PORT_OTHER, "Open Port", [&](HWND dialog) {
        SetDlgItemTextA(dialog, IDC_NAME, "4294967295");
        PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    EXPECT_EQ(terminal->Settings.m_PortNumber, number);
    Modal(CMD_DEVICE_CUSTOM, "Select Device", [](HWND dialog) {
        EXPECT_EQ(TextOf(GetDlgItem(dialog, IDC_NAME)), "default");
        SetDlgItemTextA(dialog, IDC_NAME, "mp3");
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    });
    EXPECT_STREQ(terminal->Settings.m_DeviceName, "mp3");
    Modal(CMD_ABOUT, "About Console", [](HWND dialog) {
        EXPECT_EQ(TextOf(GetDlgItem(dialog, IDC_VERSION)), "Version 1.0 build 50");
        SendMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
        EXPECT_TRUE(IsWindow(dialog)) << "only its button closes it";
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    });
}

TEST_F(DialogTest, LineOfARunningBatchIsLeftAlone) {
    StartWithDevice();
    const std::string content(2000, 'x');
    const DWORD baud = terminal->Settings.m_BaudRate;
    const auto meddle = [&](HWND dialog) { // opened before the batch
        EXPECT_EQ(HandOver(Packed({File("x", content)})), 1);
        SetDlgItemTextA(dialog, IDC_NAME, "0"); // closes the port, or is a device's name
        SendMessageA(dialog, WM_COMMAND, IDOK, 0);
        EXPECT_TRUE(IsWindowVisible(dialog)) << "it did nothing";
        for (const int command : {CMD_BAUD_2400, CMD_PORT_NONE, CMD_DEVICE_A})
            Command(static_cast<WORD>(command));
        EXPECT_EQ(terminal->Settings.m_BaudRate, baud);
        EXPECT_EQ(terminal->Settings.m_PortNumber, ReadComPair().number);
        EXPECT_STREQ(terminal->Settings.m_DeviceName, "default");
        EXPECT_TRUE(Ended());
        EXPECT_EQ(Stored("default\\x"), content);
        folder.Write("device\\default\\x", "");
        PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    Modal(CMD_PORT_OTHER, "Open Port", meddle);
    Modal(CMD_DEVICE_CUSTOM, "Select Device", meddle);
}

TEST_F(DialogTest, FileDialogsFillTheirLists) {
    Start();
    const std::string one = File("one file.txt", "1");
    const std::string two = File("two.txt", "2");
    terminal->Settings.m_AskBeforeSendWrongFile = 0;
    Modal(CMD_SEND_FILES, "Send File(s)", Choose(one));
    EXPECT_EQ(std::string(terminal->Batch.m_FileList, one.size() + 2), Packed({one}));
    // The folder stands before its files' names.
    const ModalScript::Action several = Choose("\"one file.txt\" \"two.txt\"");
    Modal(CMD_SEND_FILES, "Send File(s)", several);
    const std::string list = Packed({one, two});
    EXPECT_EQ(std::string(terminal->Batch.m_FileList, list.size()), list);
    // A name that no dialog can offer does not keep it from opening.
    terminal->Batch.TakeList("C:\\a?b|c\0", 10, 0);
    Modal(CMD_SEND_FILES, "Send File(s)", Press(IDCANCEL));

    CopyText(terminal->Settings.m_ReceiveFile, two.c_str());
    Modal(CMD_RECEIVE_FILE, "Receive File", Press(IDCANCEL));
    EXPECT_EQ(std::string(terminal->Settings.m_ReceiveFile), two);
    Modal(CMD_SEND_IMAGE, "Image File", Choose(two));
    EXPECT_EQ(std::string(terminal->Settings.m_ImageFile), two);
    EXPECT_EQ(terminal->Batch.m_ImageMode, 1U);
}
