#include "engine/EngineAddress.h"

namespace lumvik {

QString engineAddress(const QString &address) {
    const qsizetype schemeEnd = address.indexOf(QLatin1String("://"));
    if (schemeEnd < 0)
        return address;
    return address.first(schemeEnd).toLower() + address.sliced(schemeEnd);
}

} // namespace lumvik
