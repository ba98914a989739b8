#pragma once

#include <QByteArray>

#include <random>

namespace lumvik::test {

/// Returns `bytes` with one to four random changes: another byte, a missing one, or a few repeated
/// ones. `bytes` must not be empty.
[[nodiscard]] inline QByteArray damagedBytes(QByteArray bytes, std::mt19937 &random) {
    const auto below = [&random](qsizetype limit) {
        return std::uniform_int_distribution<qsizetype>(0, limit - 1)(random);
    };
    for (qsizetype changes = below(4) + 1; changes > 0 && !bytes.isEmpty(); --changes) {
        const qsizetype position = below(bytes.size());
        switch (below(3)) {
        case 0:
            bytes[position] = static_cast<char>(below(256) - 128);
            break;
        case 1:
            bytes.remove(position, 1);
            break;
        default:
            bytes.insert(position, bytes.mid(below(bytes.size()), 9));
            break;
        }
    }
    return bytes;
}

} // namespace lumvik::test
