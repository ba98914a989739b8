// What is read from cameras.json and from files that are imported.
#include "configuration/CameraConfiguration.h"
#include "configuration/CameraListBounds.h"
#include "fuzz/Fuzzing.h"

using namespace lumvik;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto read = CameraConfiguration::decoded(test::bytesOf(data, size).toByteArray());
    if (!read)
        return 0;
    (void)excessOf(read->cameras);
    const auto again = CameraConfiguration::decoded(read->encoded());
    test::require(again.has_value(), "What was written can be read.");
    test::require(*again == *read, "Nothing is lost by writing and reading.");
    return 0;
}
