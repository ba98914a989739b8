#pragma once

#include <QDateTime>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QTemporaryDir>

namespace lumvik::test {

/// A certificate and its private key.
struct Credentials {
    QSslCertificate certificate;
    QSslKey key;
};

/// A certificate authority for the duration of a test. The authority keeps its files in a temporary
/// folder and requires the openssl program.
class TestAuthority {
  public:
    TestAuthority();

    [[nodiscard]] QSslCertificate certificate() const;

    /// Issues credentials for the server `host` that are valid for one day from now.
    [[nodiscard]] Credentials credentials(const QString &host) const;
    /// Issues credentials for the server `host` that expired yesterday.
    [[nodiscard]] Credentials expiredCredentials(const QString &host) const;
    /// Creates credentials for the server `host` with a self-signed certificate.
    [[nodiscard]] Credentials selfSignedCredentials(const QString &host) const;

  private:
    [[nodiscard]] Credentials issued(const QString &host, const QDateTime &from,
                                     const QDateTime &until) const;
    [[nodiscard]] Credentials readCredentials(const QString &name) const;
    [[nodiscard]] QByteArray read(const QString &name) const;
    void write(const QString &name, const QByteArray &content) const;
    void run(const QString &command) const;

    QTemporaryDir m_folder;
};

} // namespace lumvik::test
