// The status bar: a text, the fill gauge of the output pane and the port indicator.

#include "base/Text.h"
#include "resources/resource.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <cstring>

namespace {

enum Part : WPARAM { TextPart = 0, FillPart = 1, PortPart = 2 };

constexpr char Greeting[] = "Have a nice day!";
constexpr int WideIndicator = 120; // pixels; a wider one has room for the long text
constexpr int GaugeSteps = 20;
constexpr int DarkestGrey = 55;
constexpr int GreyRange = 200;
constexpr int TurningGrey = 118; // here black text begins to be clearer than white

// Right edges of the parts, the same for every terminal that is laid out next.
int PartEdges[3];

struct EdgeRule {
    int leastWidth; // of the client area
    int fixedEdge;  // of part 1, or 0 to measure it from the right
    int fromRight;
};

constexpr int FirstEdge = 300;
constexpr EdgeRule EdgeRules[] = {{620, 420, 0}, {570, 0, 200}, {440, 370, 0}};

void ComputeEdges(int width) {
    PartEdges[2] = width;
    for (const EdgeRule& rule : EdgeRules) {
        if (width < rule.leastWidth)
            continue;
        PartEdges[0] = FirstEdge;
        PartEdges[1] = rule.fixedEdge ? rule.fixedEdge : width - rule.fromRight;
        return;
    }
    PartEdges[0] = width - 140;
    PartEdges[1] = width - 70;
}

void DrawPartText(HDC context, const char* text, RECT rect, UINT alignment, COLORREF color) {
    SetBkMode(context, TRANSPARENT);
    SetTextColor(context, color);
    DrawTextA(context, text, -1, &rect, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | alignment);
}

void DrawSegment(HDC context, const RECT& part, int from, int to, int grey) {
    const auto level = static_cast<BYTE>(grey);
    const COLORREF color = RGB(level, level, level);
    SelectObject(context, GetStockObject(DC_PEN));
    SelectObject(context, GetStockObject(DC_BRUSH));
    SetDCPenColor(context, color);
    SetDCBrushColor(context, color);
    Rectangle(context, part.left + from, part.top, part.left + to, part.bottom);
}

// Where the dark segments end, and where all end, in pixels from the part's left edge.
struct Segments {
    int dark;
    int all;
};

Segments DrawSegments(HDC context, const RECT& part, std::uint32_t value) {
    const std::int64_t width = part.right - part.left;
    const std::int64_t step = width / GaugeSteps;
    Segments ends = {};
    const int saved = SaveDC(context);
    for (std::int64_t from = 0; step > 0 && from < width; from += step) {
        if ((from + step) * ZoTerm::PaneLimit / width > value)
            break;
        const auto grey = static_cast<int>(from * GreyRange / width) + DarkestGrey;
        ends.all = static_cast<int>(from + step);
        DrawSegment(context, part, static_cast<int>(from), ends.all, grey);
        if (grey < TurningGrey)
            ends.dark = ends.all;
    }
    RestoreDC(context, saved);
    return ends;
}

// The text's color changes with the segments below it.
void DrawGauge(HDC context, const RECT& part, std::uint32_t value) {
    const Segments ends = DrawSegments(context, part, value);
    const struct {
        LONG from;
        LONG to;
        COLORREF color;
    } zones[] = {
        {part.left, part.left + ends.dark, RGB(255, 255, 255)},
        {part.left + ends.dark, part.left + ends.all, RGB(0, 0, 0)},
        {part.left + ends.all, part.right, GetSysColor(COLOR_BTNTEXT)},
    };
    char text[32];
    FormatText(text, " %u / %u", value, ZoTerm::PaneLimit);
    for (const auto& zone : zones) {
        const int saved = SaveDC(context);
        IntersectClipRect(context, zone.from, part.top, zone.to, part.bottom);
        DrawPartText(context, text, part, DT_CENTER, zone.color);
        RestoreDC(context, saved);
    }
}

void DrawPortIndicator(HDC context, const RECT& part, std::uint32_t number) {
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    const WORD id = number ? IDI_PORT_OPEN : IDI_PORT_CLOSED;
    const auto icon = static_cast<HICON>(
        LoadImageA(ProgramModule, MAKEINTRESOURCEA(id), IMAGE_ICON, width, height, LR_SHARED));
    DrawIconEx(context, part.left, part.top, icon, width, height, 0, nullptr, DI_NORMAL);

    RECT rest = part;
    rest.left += width;
    char text[40];
    if (number == 0)
        CopyText(text, " Disconnected");
    else if (rest.right - rest.left > WideIndicator)
        FormatText(text, " Connected to COM%u", number);
    else
        FormatText(text, " COM%u", number);
    DrawPartText(context, text, rest, DT_LEFT, GetSysColor(COLOR_BTNTEXT));
}

} // namespace

bool ZoTerm::CreateStatusBar() {
    m_hStatus = CreateStatusWindowA(WS_CHILD | WS_VISIBLE | WS_BORDER | SBARS_SIZEGRIP, "", m_hWnd,
                                    IDC_STATUS_BAR);
    if (!m_hStatus)
        return false;
    SendMessageA(m_hStatus, SB_SETPARTS, 3, reinterpret_cast<LPARAM>(PartEdges));
    SetStatusText("");
    SetStatusText(Greeting);
    return true;
}

void ZoTerm::LayOutStatusBar(int width) {
    ComputeEdges(width);
    SendMessageA(m_hStatus, SB_SETPARTS, 3, reinterpret_cast<LPARAM>(PartEdges));
}

void ZoTerm::SetStatusText(const char* text) {
    CopyText(m_StatusText, text);
    SendMessageA(m_hStatus, SB_SETTEXTA, TextPart | SBT_NOBORDERS, reinterpret_cast<LPARAM>(text));
}

void ZoTerm::ShowNote(StatusNote& note, const char* text) {
    if (text[0])
        SetStatusText(text);
    else if (note[0] && std::strcmp(m_StatusText, note) == 0)
        SetStatusText("");
    CopyText(note, text);
}

// Clears the status text if it begins like this.
void ZoTerm::ForgetStatusText(const char* beginning) {
    if (std::strncmp(m_StatusText, beginning, std::strlen(beginning)) == 0)
        SetStatusText("");
}

void ZoTerm::SetStatusFill(std::uint32_t value) {
    m_ShownFill = value;
    SendMessageA(m_hStatus, SB_SETTEXTA, FillPart | SBT_OWNERDRAW, value);
}

void ZoTerm::SetStatusPort(std::int32_t number) {
    SendMessageA(m_hStatus, SB_SETTEXTA, PortPart | SBT_OWNERDRAW, number);
}

LRESULT ZoTerm::OnDrawItem(const DRAWITEMSTRUCT& item) {
    if (item.CtlID != IDC_STATUS_BAR)
        return 0;
    const auto value = static_cast<std::uint32_t>(item.itemData);
    if (item.itemID == FillPart)
        DrawGauge(item.hDC, item.rcItem, value);
    if (item.itemID == PortPart)
        DrawPortIndicator(item.hDC, item.rcItem, value);
    return 0;
}
