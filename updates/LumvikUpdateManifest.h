#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <tl/expected.hpp>

namespace lumvik {

/// The description of the newest version that the Lumvik website publishes.
struct LumvikUpdateManifest {
    QString version;        ///< The version shown to users, for example "1.4" or "1.4.2".
    std::int64_t build = 0; ///< The build number, at least `firstBuild` in a valid manifest.
    /// The address of the download page, exactly as the manifest spells it. The address is not a
    /// QUrl, because QUrl would convert the scheme and the host to lower case before they are
    /// validated.
    QString downloadPage;

    /// The smallest valid build number.
    static constexpr std::int64_t firstBuild = 1;

    /// Returns the address of the download page as a URL that can be opened.
    [[nodiscard]] QUrl downloadUrl() const { return QUrl(downloadPage, QUrl::StrictMode); }

    friend bool operator==(const LumvikUpdateManifest &, const LumvikUpdateManifest &) = default;
};

/// Decodes a manifest from JSON. The JSON must be an object with the strings "version" and
/// "downloadPage" and the number "build". "downloadPage" must be an absolute or relative URL.
/// "build" must be a whole number that fits into 64 bits; 7.0 counts as whole, 7.5 does not. Other
/// keys are ignored. Errors are sentences for the user.
[[nodiscard]] tl::expected<LumvikUpdateManifest, QString>
decodeUpdateManifest(const QByteArray &json);

enum class ManifestFault { downloadPage, build, version };

/// Validates the values of a manifest and returns the first fault, in this order:
/// 1. The download page must use https, be on `webHost` and have the path "/lumvik". These parts
///    are compared exactly, including case.
/// 2. The build must be at least `LumvikUpdateManifest::firstBuild`.
/// 3. The version must consist only of two to four decimal numbers in ASCII digits, separated by
///    dots.
[[nodiscard]] tl::expected<void, ManifestFault>
validateUpdateManifest(const LumvikUpdateManifest &manifest, const QString &webHost);

} // namespace lumvik
