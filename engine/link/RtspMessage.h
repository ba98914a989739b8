#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <vector>

namespace lumvik {

/// A header line of an RTSP message, as received.
struct RtspHeader {
    QByteArray name;
    QByteArray value;
};

/// A request or a response of RTSP 1.0 (RFC 2326). A plain value; the header lines keep their order
/// and spelling, so that whatever is not changed is passed on as it was received.
struct RtspMessage {
    QByteArray startLine; ///< Without the line end.
    std::vector<RtspHeader> headers;
    QByteArray body;

    [[nodiscard]] bool isResponse() const;
    /// The status of a response, from 100 to 599, or 0 if the start line contains none.
    [[nodiscard]] int status() const;
    /// The method of a request, for example "DESCRIBE".
    [[nodiscard]] QByteArray method() const;
    /// The address in a request's start line.
    [[nodiscard]] QByteArray uri() const;
    void setUri(const QByteArray &uri);

    /// Returns the value of the first header line named `name`, in upper or lower case, or an empty
    /// text.
    [[nodiscard]] QByteArray value(const char *name) const;
    /// Returns the values of all header lines named `name`.
    [[nodiscard]] QByteArrayList values(const char *name) const;
    [[nodiscard]] bool has(const char *name) const;
    /// Replaces the first header line named `name` and removes the others, or adds a line.
    void set(const char *name, const QByteArray &value);
    void remove(const char *name);
    /// Replaces the body. The length in the header is changed with it.
    void setBody(const QByteArray &body);

    /// The message as it is sent.
    [[nodiscard]] QByteArray encoded() const;
};

} // namespace lumvik
