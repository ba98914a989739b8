#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <vector>

// The messages of WS-Discovery (April 2005, the version that ONVIF uses), as pure functions.

namespace lumvik {

/// Whom a probe asks.
enum class ProbeKind {
    videoTransmitters, ///< Devices of ONVIF's type "NetworkVideoTransmitter".
    anyDevice,         ///< All devices, because some cameras reply to no other probe.
};

/// A camera that has replied to a probe. Everything but `serviceAddress` is what the camera says
/// about itself, without control characters, and may be empty.
struct FoundCamera {
    /// What identifies the camera even if its address changes: its endpoint address in lower case,
    /// without "urn:"; or its IP address if it has none that could be shown.
    QString identity;
    /// Where ONVIF's calls go, an http or https address whose host is the IP address that replied.
    QUrl serviceAddress;
    QString name;
    QString hardware; ///< Usually the model.
    QString location;

    friend bool operator==(const FoundCamera &, const FoundCamera &) = default;
};

/// Returns a new identifier for a probe.
[[nodiscard]] QString makeMessageId();

/// Returns a probe, ready to be sent.
[[nodiscard]] QByteArray probeMessage(ProbeKind kind, const QString &messageId);

/// Returns the cameras in a reply that came from `sender`. The list is empty if the datagram is no
/// reply to one of the probes in `messageIds`, is damaged or exceeds a limit (see XmlLimits), or
/// describes only devices that are no cameras.
///
/// A service address with another host than `sender` comes from a camera that has moved or that has
/// several networks; the host is replaced. If there is none, ONVIF's usual address is assumed.
[[nodiscard]] std::vector<FoundCamera> camerasInReply(const QByteArray &datagram,
                                                      const QHostAddress &sender,
                                                      const QStringList &messageIds);

/// Returns `url` with `host` as its host, which may be an IPv6 address with a scope, and without
/// user name, password and fragment.
[[nodiscard]] QUrl withHost(QUrl url, const QHostAddress &host);

/// Whether `host`, as it stands in a URL, is the address `address`. A scope in one but not in the
/// other makes no difference.
[[nodiscard]] bool isHost(const QString &host, const QHostAddress &address);

/// Returns `text` without control characters and marks for the direction of text, shortened to 200
/// characters. All that a device says about itself must pass through this function before it is
/// shown.
[[nodiscard]] QString presentableText(const QString &text);

} // namespace lumvik
