#include "res/menu.h"

namespace res {

#define POPUP(t) {MenuEntry::Popup, 0, t}
#define ITEM(id) {MenuEntry::Item, id, nullptr}
#define SEP {MenuEntry::Separator, 0, nullptr}
#define END {MenuEntry::End, 0, nullptr}

const MenuEntry kMenu3d[] = {
    POPUP("&File"),
        ITEM(40003), ITEM(40008), SEP, ITEM(1030), SEP, ITEM(1060), END,
    POPUP("&Volume"),
        ITEM(1040), ITEM(1041), ITEM(1042), ITEM(1045), SEP,
        ITEM(1100), ITEM(1110), ITEM(1050), SEP,
        ITEM(1142), ITEM(1141), ITEM(1140), SEP, ITEM(1130), END,
    POPUP("&Display"),
        ITEM(1300), ITEM(1307), ITEM(40007), ITEM(1315), SEP, ITEM(212), END,
    // modules put their popups here (the fourth top-level item)
    POPUP("&Modules"), END,
    POPUP("&Filters"),
        ITEM(1170), ITEM(1185), ITEM(1186), SEP,
        ITEM(1171), ITEM(1172), ITEM(1173), ITEM(1174), ITEM(1175), SEP,
        ITEM(1178), ITEM(1179), ITEM(1180), ITEM(1181), END,
    POPUP("&Edges"),
        ITEM(1190), ITEM(1191), ITEM(1192), ITEM(1193), ITEM(1194), SEP,
        ITEM(1250), ITEM(1251), END,
    POPUP("&Segmentation"),
        ITEM(1200), ITEM(1201), ITEM(1202), ITEM(1203), ITEM(1204), SEP,
        ITEM(1205), ITEM(1206), END,
    POPUP("&Resize"),
        ITEM(1150), ITEM(1151), ITEM(1152), ITEM(1153), ITEM(1154), ITEM(1155), END,
    POPUP("M&orphology"),
        ITEM(1240), ITEM(1241), ITEM(1242), ITEM(1243), ITEM(1244), ITEM(1245), END,
    POPUP("&Transforms"),
        ITEM(1230), ITEM(1231), ITEM(1232), ITEM(1233), ITEM(1234), ITEM(1235), ITEM(1236),
        ITEM(1237), END,
    POPUP("&Logic/Metrics"),
        ITEM(1120), ITEM(1121), ITEM(1122), SEP, ITEM(1220), ITEM(1221), ITEM(1222), END,
    POPUP("T&ools"), ITEM(1260), END,
    POPUP("&Help"), ITEM(701), END,
};

const int kMenu3dSize = sizeof kMenu3d / sizeof kMenu3d[0];

}  // namespace res
