// The numbers that cross the seam between the dialogs, the framework and a window backend.
#ifndef BRENHOLT_PLATFORM_WINDOW_CODES_H
#define BRENHOLT_PLATFORM_WINDOW_CODES_H

#include <cstdint>

namespace brenholt {

// Messages of message maps.
enum : uint32_t {
    WM_DESTROY = 0x0002,  // the framework's own: the window goes, however the dialog ended
    WM_CLOSE = 0x0010,    // the close box
    WM_NOTIFY = 0x004E,   // a control reports something; see the notification codes
    WM_COMMAND = 0x0111,  // a button was pressed, by mouse or key
};

// Notification codes, 16 bits.
enum : uint16_t {
    BN_CLICKED = 0,             // WM_COMMAND
    IPN_FIELDCHANGED = 0xFCA4,  // -860: the user changed a field of an address control
    LVN_ITEMCHANGED =
        0xFF9B,          // -101: the selection of a list changed, or a text of its selected row
    NM_DBLCLK = 0xFFFD,  // -3: double click in a list
};

// Buttons that every dialog knows, and what DoModal and message boxes give.
enum : int { IDOK = 1, IDCANCEL = 2 };

// Buttons and icon of a message box.
enum : uint32_t { MB_OK = 0x00, MB_OKCANCEL = 0x01, MB_ICONHAND = 0x10, MB_ICONINFORMATION = 0x40 };

// Styles of controls. Each kind of control has a range of its own, so that bits repeat.
enum : uint32_t {
    BS_DEFPUSHBUTTON = 0x0001,  // Enter presses it, unless another button has the focus
    BS_DELETEKEY = 0x10000,     // the Delete key in a list presses it

    ES_MULTILINE = 0x0004,    // lines are separated by CR LF
    ES_AUTOVSCROLL = 0x0040,  // may hold more lines than it shows
    ES_AUTOHSCROLL = 0x0080,  // lines do not wrap
    ES_READONLY = 0x0800,     // can be read, marked and copied
    ES_WANTRETURN = 0x1000,   // takes Enter for itself

    LVS_REPORT = 0x0001,          // rows and columns, with headings
    LVS_SINGLESEL = 0x0004,       // one selected row at most
    LVS_SHOWSELALWAYS = 0x0008,   // the selection stays visible without the focus
    LVS_OWNERDRAWFIXED = 0x0400,  // the dialog draws the rows, all of one height
};

// Columns and looks of a list.
enum : int { LVCFMT_CENTER = 2 };
enum : uint32_t { LVS_EX_FULLROWSELECT = 32 };

// Drawing: actions and states of a draw request, options of ExtTextOut, alignment, system colours.
enum : uint32_t { ODA_DRAWENTIRE = 1, ODA_SELECT = 2, ODA_FOCUS = 4 };
enum : uint32_t { ODS_SELECTED = 1, ODS_FOCUS = 16 };
enum : uint32_t { ETO_OPAQUE = 2, ETO_CLIPPED = 4 };
enum : uint32_t { TA_LEFT = 0, TA_TOP = 0, TA_NOUPDATECP = 0 };
enum : uint32_t { ILD_TRANSPARENT = 1 };
enum : int {
    COLOR_WINDOW = 5,
    COLOR_WINDOWTEXT = 8,
    COLOR_HIGHLIGHT = 13,
    COLOR_HIGHLIGHTTEXT = 14,
};

// A colour: 0x00BBGGRR.
using COLORREF = uint32_t;

// Pixels; right and bottom are exclusive.
struct RECT {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

}  // namespace brenholt

#endif
