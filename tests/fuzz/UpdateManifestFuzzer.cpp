// What the website says about the newest version.
#include "fuzz/Fuzzing.h"
#include "updates/LumvikUpdateManifest.h"
#include "updates/VersionComparison.h"

using namespace lumvik;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto manifest = decodeUpdateManifest(test::bytesOf(data, size).toByteArray());
    if (!manifest)
        return 0;
    const QString host = QStringLiteral("tandrel.example");
    test::require(compareVersions(manifest->version, manifest->version) == 0,
                  "A version equals itself.");
    if (!validateUpdateManifest(*manifest, host))
        return 0;
    const QUrl page = manifest->downloadUrl();
    test::require(page.scheme() == QLatin1String("https") && page.host() == host,
                  "Only the project's website is opened.");
    return 0;
}
