// The visible part of the output pane: it follows new text unless the user has scrolled or
// selected.

#include "terminal/PaneView.h"

#include "terminal/ZoTerm.h"

#include <algorithm>
#include <climits>

namespace {

constexpr std::uint32_t DropStep = ZoTerm::PaneLimit / 4;
constexpr int BehindAllText = INT_MAX; // a position: the control takes its end for it

// The selection, and the corner of the text that is shown.
struct PaneView {
    DWORD from;
    DWORD to;
    LRESULT line;
    int column; // in the scroll bar's units
};

LRESULT FirstLine(HWND pane) {
    return SendMessageW(pane, EM_GETFIRSTVISIBLELINE, 0, 0);
}

LRESULT LineCount(HWND pane) {
    return SendMessageW(pane, EM_GETLINECOUNT, 0, 0);
}

PaneView ViewOf(HWND pane) {
    PaneView view = {0, 0, FirstLine(pane), GetScrollPos(pane, SB_HORZ)};
    SendMessageW(pane, EM_GETSEL, reinterpret_cast<WPARAM>(&view.from),
                 reinterpret_cast<LPARAM>(&view.to));
    return view;
}

bool IsCharacterAt(HWND pane, DWORD character, POINT point) {
    const LRESULT place = SendMessageW(pane, EM_POSFROMCHAR, character, 0);
    return point.x == static_cast<short>(LOWORD(place)) &&
           point.y == static_cast<short>(HIWORD(place));
}

// Restores the scroll position last, since selecting may scroll to the selection.
void Restore(HWND pane, const PaneView& view, bool caretFirst) {
    SendMessageW(pane, EM_SETSEL, caretFirst ? view.to : view.from,
                 static_cast<LPARAM>(caretFirst ? view.from : view.to));
    SendMessageW(pane, EM_LINESCROLL, 0, view.line - FirstLine(pane));
    if (GetScrollPos(pane, SB_HORZ) != view.column)
        SendMessageW(pane, WM_HSCROLL, MAKEWPARAM(SB_THUMBPOSITION, view.column), 0);
}

void ReplaceText(HWND pane, int from, int to, const wchar_t* text) {
    SendMessageW(pane, EM_SETSEL, static_cast<WPARAM>(from), to);
    SendMessageW(pane, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text));
}

SCROLLINFO RangeDown(HWND pane) {
    SCROLLINFO info = {};
    info.cbSize = sizeof(info);
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
    GetScrollInfo(pane, SB_VERT, &info);
    return info;
}

SCROLLBARINFO BarOf(HWND pane, LONG bar) {
    SCROLLBARINFO info = {};
    info.cbSize = sizeof(info);
    GetScrollBarInfo(pane, bar, &info);
    return info;
}

// In a full pane hardly any text moves a thumb by a pixel.
bool LooksSame(const SCROLLBARINFO& one, const SCROLLBARINFO& other) {
    return one.xyThumbTop == other.xyThumbTop && one.xyThumbBottom == other.xyThumbBottom &&
           one.rgstate[0] == other.rgstate[0];
}

// Suppresses drawing of the pane while it lives, and draws the changes at its end. The control
// would draw both scroll bars with every step, which takes much longer than the step itself.
// WM_SETREDRAW goes to the default procedure, since the control need not handle it; the system may
// take its end for a new frame, and would draw all of that. What was due before is drawn first.
class DrawnOnce {
public:
    explicit DrawnOnce(HWND pane)
        : m_Pane(pane), m_Across(BarOf(pane, OBJID_HSCROLL)), m_Down(BarOf(pane, OBJID_VSCROLL)),
          m_RangeDown(RangeDown(pane)) {
        UpdateWindow(m_Pane);
        DefWindowProcW(m_Pane, WM_SETREDRAW, FALSE, 0);
    }
    ~DrawnOnce() {
        DefWindowProcW(m_Pane, WM_SETREDRAW, TRUE, 0);
        RedrawWindow(m_Pane, nullptr, nullptr, RDW_VALIDATE | RDW_NOFRAME);
        const SCROLLBARINFO down = BarOf(m_Pane, OBJID_VSCROLL);
        const bool frame = !LooksSame(BarOf(m_Pane, OBJID_HSCROLL), m_Across) ||
                           down.rgstate[0] != m_Down.rgstate[0];
        RedrawWindow(m_Pane, nullptr, nullptr, RDW_INVALIDATE | (frame ? RDW_FRAME : 0U));
        if (!frame && !LooksSame(down, m_Down)) { // drawn if it changes, so it changes again
            const SCROLLINFO range = RangeDown(m_Pane);
            SetScrollInfo(m_Pane, SB_VERT, &m_RangeDown, FALSE);
            SetScrollInfo(m_Pane, SB_VERT, &range, TRUE);
        }
        UpdateWindow(m_Pane); // drawing is part of what an append costs
    }
    DrawnOnce(const DrawnOnce&) = delete;
    DrawnOnce& operator=(const DrawnOnce&) = delete;

private:
    HWND m_Pane;
    SCROLLBARINFO m_Across;
    SCROLLBARINFO m_Down;
    SCROLLINFO m_RangeDown;
};

// Removes the first `count` characters; the view moves up with its text, at most to the top.
void DropOldest(HWND pane, std::uint32_t count, PaneView& view) {
    const LRESULT lines = SendMessageW(pane, EM_LINEFROMCHAR, count, 0);
    view.line = std::max<LRESULT>(view.line - lines, 0);
    view.from -= std::min<DWORD>(view.from, count);
    view.to -= std::min<DWORD>(view.to, count);
    ReplaceText(pane, 0, static_cast<int>(count), L"");
}

} // namespace

// The text's length may be counted in bytes.
std::uint32_t PaneEnd(HWND pane) {
    const auto last = static_cast<WPARAM>(LineCount(pane) - 1);
    const LRESULT start = SendMessageW(pane, EM_LINEINDEX, last, 0);
    return static_cast<std::uint32_t>(
        start + SendMessageW(pane, EM_LINELENGTH, static_cast<WPARAM>(start), 0));
}

WideBuffer PaneText(HWND pane) {
    const std::uint32_t room = PaneEnd(pane) + 1;
    WideBuffer text = MakeWideBuffer(room);
    if (text)
        SendMessageW(pane, WM_GETTEXT, room, reinterpret_cast<LPARAM>(text.get()));
    return text;
}

std::uint32_t OldestLines(const wchar_t* text, std::uint32_t count, std::uint32_t least) {
    const std::uint32_t start = std::min(std::max(least, DropStep), count);
    if (start == 0)
        return start;
    const wchar_t* const end = std::find(text + start - 1, text + count, L'\n');
    return end == text + count ? start : static_cast<std::uint32_t>(end - text) + 1;
}

// Asks for places instead of the text, which the control would have to copy.
std::uint32_t OldestPaneLines(HWND pane, std::uint32_t count, std::uint32_t least) {
    const std::uint32_t start = std::min(std::max(least, DropStep), count);
    if (start == 0)
        return start;
    const LRESULT line = SendMessageW(pane, EM_LINEFROMCHAR, start - 1, 0);
    const LRESULT next = SendMessageW(pane, EM_LINEINDEX, static_cast<WPARAM>(line + 1), 0);
    return next < static_cast<LRESULT>(start) ? start : static_cast<std::uint32_t>(next);
}

// Nothing is selected or being selected, and the text's end is in view, or would be if the window
// had not become smaller.
bool ZoTerm::PaneFollows() const {
    const PaneView view = ViewOf(m_hOutput);
    if (view.from != view.to || GetCapture() == m_hOutput)
        return false;
    const LRESULT lines = LineCount(m_hOutput);
    if (view.line == m_FollowedLine && lines == m_FollowedLineCount)
        return true;
    SCROLLINFO bar = {};
    bar.cbSize = sizeof(bar);
    bar.fMask = SIF_PAGE;
    GetScrollInfo(m_hOutput, SB_VERT, &bar);
    return view.line + static_cast<LRESULT>(bar.nPage) >= lines;
}

// The control does not report at which end of the selection its caret is, only where it was drawn
// last; that place is out of date when the text has scrolled since.
void ZoTerm::NoteCaret() {
    POINT caret = {};
    const PaneView view = ViewOf(m_hOutput);
    const bool selects = view.from != view.to;
    if (selects && GetCaretPos(&caret) && IsCharacterAt(m_hOutput, view.from, caret))
        m_PaneCaretFirst = true;
    else if (!selects || IsCharacterAt(m_hOutput, view.to, caret))
        m_PaneCaretFirst = false;
}

// Makes room of `drop` characters at the top first. The control can only append at its caret,
// which it scrolls to.
void ZoTerm::AppendToPane(const wchar_t* text, std::uint32_t drop) {
    if (GetFocus() == m_hOutput)
        NoteCaret();
    const bool caretFirst = m_PaneCaretFirst;
    const bool follows = PaneFollows();
    PaneView view = ViewOf(m_hOutput);
    const DrawnOnce drawn(m_hOutput);
    if (drop > 0)
        DropOldest(m_hOutput, drop, view);
    ReplaceText(m_hOutput, BehindAllText, BehindAllText, text);
    if (!follows) {
        Restore(m_hOutput, view, caretFirst);
        return;
    }
    m_FollowedLine = FirstLine(m_hOutput);
    m_FollowedLineCount = LineCount(m_hOutput);
}
