#include "engine/DelimiterComplaints.h"

namespace lumvik {

bool DelimiterComplaints::contain(const QString &text) {
    // A delimiter has six bytes. Every access unit with a picture is larger.
    if (text.endsWith(QLatin1String("missing picture in access unit with size 6"))) {
        m_expected = 2;
        return true;
    }
    const bool follows = text.endsWith(QLatin1String("no frame!")) ||
                         text == QLatin1String("Error while decoding frame!");
    if (m_expected == 0 || !follows) {
        m_expected = 0;
        return false;
    }
    --m_expected;
    return true;
}

} // namespace lumvik
