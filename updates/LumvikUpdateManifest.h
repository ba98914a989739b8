#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <tl/expected.hpp>

namespace lumvik {

/// What the maker's web site says about the newest version. A plain value.
struct LumvikUpdateManifest {
    QString version;        ///< For users, for example "1.4" or "1.4.2".
    std::int64_t build = 0; ///< At least 1.
    /// The page that the user is sent to, as the manifest spells it: QUrl would fold the case of
    /// scheme and host, on which the check is exact.
    QString downloadPage;

    /// The page to open.
    [[nodiscard]] QUrl downloadUrl() const { return QUrl(downloadPage, QUrl::StrictMode); }

    friend bool operator==(const LumvikUpdateManifest &, const LumvikUpdateManifest &) = default;
};

/// Reads a manifest: a JSON object with the texts "version" and "downloadPage", the latter a URL
/// (an absolute one or not), and the whole number "build" within 64 bits; 7.0 is one, 7.5 is not.
/// Other keys are ignored. The error is a sentence for the user.
[[nodiscard]] tl::expected<LumvikUpdateManifest, QString>
decodeUpdateManifest(const QByteArray &json);

enum class ManifestFault { downloadPage, build, version };

/// Checks the values of a manifest and answers what is wrong with the first that fails, in this
/// order: the download page is https, on `webHost` and exactly "/lumvik", compared letter by
/// letter; the build is at least 1; the version is two to four decimal numbers with dots between
/// and nothing around them, in ASCII digits.
[[nodiscard]] tl::expected<void, ManifestFault>
validateUpdateManifest(const LumvikUpdateManifest &manifest, const QString &webHost);

} // namespace lumvik
