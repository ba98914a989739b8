// lumvik-render-icon SIZE FILE [SIZE FILE...]
//
// Writes the program's icon as PNG files, for desktops that do not support SVG icons.

#include "style/ApplicationIcon.h"

#include <cstdio>

int main(int argc, char **argv) {
    for (int n = 1; n + 1 < argc; n += 2) {
        const int pixels = QByteArray(argv[n]).toInt();
        const QString file = QString::fromLocal8Bit(argv[n + 1]);
        if (pixels <= 0 || !lumvik::applicationIconImage(pixels).save(file, "PNG")) {
            std::fprintf(stderr, "The icon cannot be written to %s.\n", argv[n + 1]);
            return 1;
        }
    }
    return 0;
}
