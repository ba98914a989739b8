#pragma once

#include <QString>
#include <QStringView>

#include <tl/expected.hpp>
#include <vector>

// The rules that turn what people paste as the address of a camera into an RTSP address.

namespace lumvik {

/// Why a pasted line is not understood as an address.
enum class PasteProblem {
    otherScheme,    ///< The address has a scheme other than "rtsp" and "rtsps", such as "http".
    noHost,         ///< The address names no host.
    badHost,        ///< What should be the host cannot be one, for example "192.168.1.300".
    badPort,        ///< The port is not a number from 1 to 65535.
    strayCharacter, ///< The host or the path contains white space, a quote, or "<" or ">".
    tooLong,        ///< The address is longer than `longestCameraAddress`.
};

/// An address for the camera list, or the reason why there is none.
using PastedAddress = tl::expected<QString, PasteProblem>;

/// Returns the address that `line` contains. The result begins with "rtsp://" or "rtsps://".
///
/// Spaces, quotes, angle brackets, commas and full stops around the address are removed, and so are
/// words before "rtsp://". A missing scheme is added. The last "@" before the path ends the user
/// information; a password may contain "/", "?" and "#" if the address would otherwise name no
/// valid host. Characters that are reserved or invalid in a URL are percent-encoded in the user
/// information, and invalid ones in the path. Escapes stay as they are, and a percent sign that
/// begins none is encoded. IPv6 addresses get their brackets. Names in other scripts stay as they
/// are.
[[nodiscard]] PastedAddress pastedAddress(QStringView line);

/// Returns one result for each line of `text`, in order. Empty lines and lines that begin with "#",
/// which are the comments of playlists, have none. Lines beyond the number of cameras that a list
/// can have (`mostCameras`) are ignored.
[[nodiscard]] std::vector<PastedAddress> pastedAddresses(const QString &text);

/// Returns `address`, an RTSP address without a login, with a user name and a password, which are
/// percent-encoded. Returns `address` unchanged if `user` is empty or `address` has no scheme.
[[nodiscard]] QString addressWithLogin(const QString &address, const QString &user,
                                       const QString &password);

/// Returns a sentence for the user. The sentence contains no part of the address.
[[nodiscard]] QString pasteProblemText(PasteProblem problem);

} // namespace lumvik
