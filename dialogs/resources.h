// The dialogs' data: templates, bitmap and strings.
#ifndef BRENHOLT_DIALOGS_RESOURCES_H
#define BRENHOLT_DIALOGS_RESOURCES_H

#include <string_view>

#include "platform/window/image_list.h"
#include "platform/window/template.h"

namespace brenholt {

// Control ids; IDOK and IDCANCEL beside them.
enum : int {
    IDC_SEARCH_NOTE = 1008,
    IDC_PICKER_LIST = 1020,
    IDC_PICKER_REFRESH = 1021,
    IDC_TARGET_IP = 1022,
    IDC_SEARCH_LIST = 1023,
    IDC_SEARCH_REFRESH = 1024,
    IDC_SEARCH_TEST = 1026,
    IDC_SEARCH_INSERT = 1027,
    IDC_TARGET_CONNECT = 1028,
    IDC_TARGET_NOTE = 1029,
    IDC_SEARCH_DELETE = 1030,
};

// String ids.
enum : int {
    IDS_IP_ADDR = 3100,
    IDS_PROJECT = 3101,
    IDS_PORT = 3102,
    IDS_SEARCH = 3103,
    IDS_RESERVED_1 = 3104,
    IDS_RESERVED_2 = 3105,
    IDS_TARGET_CHANGES = 3106,  // two %s: address, project
    IDS_NONE_CHOSEN = 3107,
};

// The text of a string id.
std::u16string_view LoadString(int id);

extern const DialogTemplate kSearchTemplate;  // 1000
extern const DialogTemplate kTargetTemplate;  // 1001
extern const DialogTemplate kPickerTemplate;  // 1002

// 1010: the icon of a panel, 16 by 16.
extern const BitmapData kUnitBitmap;
inline constexpr int kUnitImageWidth = 16;
inline constexpr COLORREF kUnitBitmapMask = 0xFFFFFF;

}  // namespace brenholt

#endif
