#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// The function that libFuzzer calls with each input. Each fuzzer defines it and returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace lumvik::test {

/// Returns an input as Qt's type, without copying it.
inline QByteArrayView bytesOf(const std::uint8_t *data, std::size_t size) {
    return {data, static_cast<qsizetype>(size)};
}

/// Ends the process, which the fuzzer reports together with the input, unless `holds` is true.
inline void require(bool holds, const char *property) {
    if (holds)
        return;
    std::fprintf(stderr, "This does not hold: %s\n", property);
    std::abort();
}

/// Removes a number from 0 to 255 from the beginning of an input. Returns 0 if the input is empty.
inline std::uint8_t takeByte(QByteArrayView &input) {
    if (input.isEmpty())
        return 0;
    const auto byte = static_cast<std::uint8_t>(input.front());
    input = input.sliced(1);
    return byte;
}

/// Removes a text up to the first line break, and the line break, from the beginning of an input.
inline QByteArray takeLine(QByteArrayView &input) {
    const qsizetype end = input.toByteArray().indexOf('\n');
    const QByteArray line = input.first(end < 0 ? input.size() : end).toByteArray();
    input = end < 0 ? QByteArrayView() : input.sliced(end + 1);
    return line;
}

} // namespace lumvik::test
