// Save Output As: writes the output pane's text into a file.

#include "base/SystemText.h"
#include "link/ReceivedFile.h"
#include "terminal/FileDialog.h"
#include "terminal/ModalScope.h"
#include "terminal/PaneView.h"
#include "terminal/ZoTerm.h"

#include <cwchar>
#include <memory>
#include <new>

namespace {

constexpr char SaveFailed[] = "Save failed: ";
constexpr wchar_t TextFiles[] = L"Text Files (*.txt)\0*.txt\0All Files (*.*)\0*.*\0";

} // namespace

void ZoTerm::SaveOutput(WORD) {
    OPENFILENAMEW dialog = FileDialog(m_hWnd, L"Save Output As", TextFiles);
    dialog.lpstrDefExt = L"txt";
    dialog.Flags |= OFN_OVERWRITEPROMPT;
    const ModalScope scope(*this);
    const Choice choice = ChoosePath(dialog, &GetSaveFileNameW, Spelling::Exact, m_OutputFile);
    if (choice == Choice::None)
        return;
    const DWORD error =
        choice == Choice::Made ? WriteOutput(m_OutputFile) : DWORD{ERROR_INVALID_NAME};
    if (error == ERROR_SUCCESS) {
        ForgetStatusText(SaveFailed);
        return;
    }
    char reason[200];
    char text[sizeof(reason) + sizeof(SaveFailed)];
    FormatSystemError(reason, error);
    FormatText(text, "%s%s", SaveFailed, reason);
    SetStatusText(text);
}

// In the code page's bytes, as the log has them. Returns 0 or the platform's error.
DWORD ZoTerm::WriteOutput(const char* path) {
    FlushPaneText();
    const auto text = PaneText(m_hOutput);
    const int length = text ? static_cast<int>(std::wcslen(text.get())) : 0;
    const int size =
        length ? WideCharToMultiByte(CP_ACP, 0, text.get(), length, nullptr, 0, nullptr, nullptr)
               : 0;
    const std::unique_ptr<char[]> bytes(
        new (std::nothrow) char[static_cast<std::size_t>(size) + 1]);
    if (!text || !bytes)
        return ERROR_NOT_ENOUGH_MEMORY;
    if (size)
        WideCharToMultiByte(CP_ACP, 0, text.get(), length, bytes.get(), size, nullptr, nullptr);
    ReceivedFile file;
    DWORD error = file.Create(path);
    if (error == ERROR_SUCCESS)
        error = file.Append(reinterpret_cast<const std::uint8_t*>(bytes.get()),
                            static_cast<std::uint32_t>(size));
    return error == ERROR_SUCCESS ? file.Keep() : error;
}
