// Dialog templates: what a window looks like, as data.
#ifndef BRENHOLT_PLATFORM_WINDOW_TEMPLATE_H
#define BRENHOLT_PLATFORM_WINDOW_TEMPLATE_H

#include <cstdint>
#include <span>
#include <string_view>

namespace brenholt {

enum class ControlKind {
    PushButton,
    EditBox,      // empty at first
    ListControl,  // empty at first
    IpAddress,    // four fields of 0 to 255, blank at first
};

// Which edges of the window a control's own edges keep their distance to when the window is
// resized. Both of a pair: the control grows. A window without any kAnchorRight or kAnchorBottom
// has a fixed size.
enum : uint32_t { kAnchorLeft = 1, kAnchorTop = 2, kAnchorRight = 4, kAnchorBottom = 8 };

// One control; all are visible and reached by Tab.
struct ControlTemplate {
    int id;
    ControlKind kind;
    std::u16string_view caption;  // of a button; of the others what assistive tools call them
    int x;                        // dialog units, as the next three
    int y;
    int cx;
    int cy;
    uint32_t style;    // BS_, ES_ or LVS_, by kind
    uint32_t anchors;  // kAnchor...
    int stretch;       // list: the column that takes the width that is left; else -1
};

// A modal window with a caption, a system menu with a close box, and a frame. Its size is the least
// one that the user can give it. A dialog unit is a quarter of the average character's width, or an
// eighth of the height, of the dialog font.
struct DialogTemplate {
    int id;
    std::u16string_view title;
    int cx;  // dialog units, without caption and frame
    int cy;
    std::span<const ControlTemplate> controls;  // in tab order
};

}  // namespace brenholt

#endif
