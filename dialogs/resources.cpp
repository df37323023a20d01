#include "dialogs/resources.h"

#include <algorithm>

#include "platform/window/codes.h"

namespace brenholt {
namespace {

struct StringEntry {
    int id;
    std::u16string_view text;
};

constexpr StringEntry kStrings[] = {
    {IDS_IP_ADDR, u"IP Addr"},
    {IDS_PROJECT, u"Project"},
    {IDS_PORT, u"Port"},
    {IDS_SEARCH, u"Search"},
    {IDS_RESERVED_1, u"Reserved"},
    {IDS_RESERVED_2, u"Reserved"},
    {IDS_TARGET_CHANGES,
     u"Connection will be changed to the following Tavrin unit.\n\nIP : %s\n\nProject : %s"},
    {IDS_NONE_CHOSEN, u"No Tavrin unit is chosen.\n\nPlease choose one of  listed Tavrin units."},
};

using enum ControlKind;

constexpr uint32_t kUpperLeft = kAnchorLeft | kAnchorTop;
constexpr uint32_t kLowerLeft = kAnchorLeft | kAnchorBottom;
constexpr uint32_t kLowerRight = kAnchorRight | kAnchorBottom;
constexpr uint32_t kBottom = kLowerLeft | kLowerRight;
constexpr uint32_t kAllSides = kUpperLeft | kLowerRight;

constexpr uint32_t kListStyle = LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS;
constexpr uint32_t kNoteStyle = ES_READONLY | ES_MULTILINE | ES_AUTOHSCROLL;

constexpr int kProjectColumn = 1;
constexpr int kNoStretch = -1;

constexpr ControlTemplate Button(int id, std::u16string_view caption, int x, int y, int cx,
                                 uint32_t anchors, uint32_t style = 0) {
    return {id, PushButton, caption, x, y, cx, 14, style, anchors, kNoStretch};
}

constexpr ControlTemplate kSearchControls[] = {
    Button(IDOK, u"OK", 215, 179, 45, kLowerRight, BS_DEFPUSHBUTTON),
    {IDC_SEARCH_LIST, ListControl, u"Tavrin units", 7, 7, 253, 124, kListStyle, kAllSides,
     kProjectColumn},
    Button(IDC_SEARCH_REFRESH, u"Refresh", 7, 179, 45, kLowerLeft),
    Button(IDC_SEARCH_TEST, u"Test", 54, 179, 45, kLowerLeft),
    {IDC_SEARCH_NOTE, EditBox, u"Details", 7, 139, 253, 35, kNoteStyle | ES_AUTOVSCROLL, kBottom,
     kNoStretch},
    Button(IDC_SEARCH_INSERT, u"Insert", 101, 179, 45, kLowerLeft),
    Button(IDC_SEARCH_DELETE, u"Delete", 148, 179, 45, kLowerLeft, BS_DELETEKEY),
};

constexpr ControlTemplate kTargetControls[] = {
    Button(IDOK, u"OK", 171, 46, 45, kUpperLeft, BS_DEFPUSHBUTTON),
    {IDC_TARGET_IP, IpAddress, u"IP address", 7, 46, 114, 14, 0, kUpperLeft, kNoStretch},
    Button(IDC_TARGET_CONNECT, u"Connect", 124, 46, 45, kUpperLeft),
    {IDC_TARGET_NOTE, EditBox, u"Details", 7, 7, 209, 34, kNoteStyle | ES_WANTRETURN, kUpperLeft,
     kNoStretch},
};

constexpr ControlTemplate kPickerControls[] = {
    {IDC_PICKER_LIST, ListControl, u"Tavrin units", 7, 7, 183, 111, kListStyle | LVS_OWNERDRAWFIXED,
     kAllSides, kProjectColumn},
    Button(IDOK, u"OK", 7, 129, 50, kLowerLeft, BS_DEFPUSHBUTTON),
    Button(IDC_PICKER_REFRESH, u"Refresh", 73, 129, 50, kLowerLeft),
    Button(IDCANCEL, u"Cancel", 139, 129, 50, kLowerRight),
};

// clang-format off
constexpr std::string_view kUnitRows[] = {
    "FFFFFFFFFFFFFFFF",
    "F77777777777777F",
    "7888888888888887",
    "7877777777777787",
    "787EEEEEEEEEE787",
    "787EEEEEBEEEE787",
    "787EEEEBBBEEE787",
    "787EEEBBBBBEE787",
    "787EEBBBBBBBE787",
    "787EEEEBBBEEE787",
    "787EEEEBBBEEE787",
    "787EEEEEEEEEE787",
    "7877777777777787",
    "7888888888888887",
    "F77777777777777F",
    "FFFFFFFFFFFFFFFF",
};
// clang-format on

}  // namespace

std::u16string_view LoadString(int id) {
    const auto* found = std::find_if(std::begin(kStrings), std::end(kStrings),
                                     [id](const StringEntry& entry) { return entry.id == id; });
    return found != std::end(kStrings) ? found->text : std::u16string_view();
}

constexpr DialogTemplate kSearchTemplate{1000, u"Search Tavrin", 267, 200, kSearchControls};
constexpr DialogTemplate kTargetTemplate{1001, u"Target IP", 223, 68, kTargetControls};
constexpr DialogTemplate kPickerTemplate{1002, u"Tavrin Found", 197, 150, kPickerControls};

// The palette is the one of 16-colour bitmaps: black, the dark colours, two greys, the bright
// colours.
constexpr BitmapData kUnitBitmap{
    {0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080, 0x808000, 0x808080, 0xC0C0C0,
     0x0000FF, 0x00FF00, 0x00FFFF, 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF},
    kUnitRows};

}  // namespace brenholt
