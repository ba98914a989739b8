// What is pasted or typed as an address.
#include "configuration/CameraAddress.h"
#include "configuration/CameraListBounds.h"
#include "discovery/PastedAddress.h"
#include "engine/link/CameraEndpoint.h"
#include "fuzz/Fuzzing.h"

using namespace lumvik;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const QString text = QString::fromUtf8(test::bytesOf(data, size));
    (void)cameraAddressProblem(text);
    (void)spokenAddress(text);
    (void)cameraEndpoint(text);
    const auto addresses = pastedAddresses(text);
    test::require(addresses.size() <= static_cast<std::size_t>(mostCameras),
                  "No more addresses are understood than a list can contain.");
    for (const PastedAddress &address : addresses) {
        if (!address) {
            test::require(!pasteProblemText(address.error()).isEmpty(),
                          "Problems have a sentence.");
            continue;
        }
        test::require(!isTooLongAddress(*address), "Addresses are within the bounds of the list.");
        // Secure addresses are understood, so that the editor can say that it does not accept them.
        if (address->startsWith(QLatin1String("rtsp://"))) {
            test::require(isCameraAddress(*address), "The editor accepts what was understood.");
            test::require(cameraEndpoint(*address).has_value(), "The link can connect to it.");
        }
        const PastedAddress again = pastedAddress(*address);
        test::require(again && *again == *address, "An understood address is understood again.");
    }
    return 0;
}
