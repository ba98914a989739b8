#pragma once

#include <QDateTime>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QTemporaryDir>

namespace lumvik::test {

/// A certificate and the key that belongs to it.
struct Credentials {
    QSslCertificate certificate;
    QSslKey key;
};

/// A certificate authority that lives as long as a test: everything it makes lies in a temporary
/// folder and is worth nothing afterwards. Uses the openssl program.
class TestAuthority {
  public:
    TestAuthority();

    [[nodiscard]] QSslCertificate certificate() const;

    /// Credentials of a server named `host`, valid from now on for a day, or until yesterday.
    [[nodiscard]] Credentials credentials(const QString &host) const;
    [[nodiscard]] Credentials expiredCredentials(const QString &host) const;
    /// Credentials that the server vouches for itself.
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
