// The grey palette that 8-bit pictures are painted through: entry i is (i, i, i).
#pragma once

#include <QColor>
#include <QList>

namespace view {

inline const QList<QRgb>& grey_palette() {
    static const QList<QRgb> grey = [] {
        QList<QRgb> table(256);
        for (int i = 0; i < 256; ++i) table[i] = qRgb(i, i, i);
        return table;
    }();
    return grey;
}

}  // namespace view
