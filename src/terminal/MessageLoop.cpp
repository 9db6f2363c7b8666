#include "terminal/MessageLoop.h"

#include "resources/resource.h"

#include <utility>

namespace {

HWND Dispatcher = nullptr;
HACCEL Accelerators = nullptr;
bool Dispatches = false; // a posted message is dispatched, not a sent one
int Waits = 0;           // handlers on the stack whose sender waits
constexpr int MostWaits = 24;

// The modeless dialog that has the keyboard, if one has it.
HWND ActiveDialog() {
    const HWND active = GetActiveWindow();
    return active && IsDialog(active) ? active : nullptr;
}

// A progress dialog, known by its clip, comes to the front by itself, perhaps while the user types
// a line: that Enter is not for its buttons. The boot dialog opens only on a command.
bool IsStrayEnter(HWND dialog, const MSG& message) {
    return message.message == WM_KEYDOWN && message.wParam == VK_RETURN &&
           GetDlgItem(dialog, IDC_CLIP) && !GetDlgItem(dialog, IDC_REBOOT);
}

// A key that is an accelerator still reaches its window, but makes no character. Dialogs get their
// keys: Tab, Enter, Esc.
void CarryOut(MSG& message) {
    const HWND dialog = ActiveDialog();
    const bool covers = dialog && !IsWindowEnabled(GetParent(dialog)); // no commands behind it
    const bool taken = !covers && TranslateAcceleratorA(Dispatcher, Accelerators, &message) != 0;
    if (dialog && (IsStrayEnter(dialog, message) || IsDialogMessageA(dialog, &message)))
        return;
    if (!taken)
        TranslateMessage(&message);
    DispatchMessageA(&message);
}

// Dispatches sent messages. Gets the next posted one, which stays in the queue; false: there is
// none.
bool LookAhead(MSG& message) {
    const bool before = std::exchange(Dispatches, false);
    const bool got = PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE) != 0;
    Dispatches = before;
    return got;
}

bool IsMark(const MSG& message) {
    return message.hwnd == Dispatcher && message.message == WM_NULL;
}

// The sender's message may have come within the loop of a dialog of the system that a step has
// ended. That loop drops the next message that it gets: leaves it one that says nothing, and
// carries out all before it. A wait within one of these steps may take the mark along.
void LeaveMark() {
    bool posted = PostMessageA(Dispatcher, WM_NULL, 0, 0) != 0;
    MSG next;
    while (posted)
        if (!LookAhead(next))
            posted = PostMessageA(Dispatcher, WM_NULL, 0, 0) != 0;
        else if (IsMark(next) || !MessageStep())
            return;
}

} // namespace

void PrepareMessageLoop(HWND dispatcher, HACCEL accelerators) {
    Dispatcher = dispatcher;
    Accelerators = accelerators;
}

bool IsDialog(HWND window) {
    constexpr ATOM dialogClass = 32770; // the system's own
    return GetClassLongPtrA(window, GCW_ATOM) == dialogClass;
}

bool MessageStep() {
    const bool before = std::exchange(Dispatches, false);
    MSG message;
    const bool got = GetMessageA(&message, nullptr, 0, 0) > 0; // dispatches sent messages
    Dispatches = true;
    if (got)
        CarryOut(message);
    else
        PostQuitMessage(static_cast<int>(message.wParam));
    Dispatches = before;
    return got;
}

bool SenderWaits() {
    const bool sent = (InSendMessageEx(nullptr) & (ISMEX_SEND | ISMEX_REPLIED)) == ISMEX_SEND;
    return sent && !(Dispatches && Waits > 0);
}

SenderWait::SenderWait() {
    ++Waits;
}

SenderWait::~SenderWait() {
    LeaveMark();
    --Waits;
}

bool SenderWait::TooMany() {
    return Waits >= MostWaits;
}
