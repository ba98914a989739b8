#include "TestAuthority.h"

#include <QFile>

#include <gtest/gtest.h>

#include <cstdlib>

namespace lumvik::test {

namespace {

const QString newKey = QStringLiteral("-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes");

} // namespace

TestAuthority::TestAuthority() {
    run(QStringLiteral("req -x509 %1 -keyout ca.key -out ca.crt -days 1 -subj /CN=Authority")
            .arg(newKey));
}

QSslCertificate TestAuthority::certificate() const {
    return QSslCertificate(read(QStringLiteral("ca.crt")));
}

Credentials TestAuthority::credentials(const QString &host) const {
    return issued(host, 1);
}

Credentials TestAuthority::expiredCredentials(const QString &host) const {
    return issued(host, -1);
}

Credentials TestAuthority::selfSignedCredentials(const QString &host) const {
    run(QStringLiteral("req -x509 %1 -keyout leaf.key -out leaf.crt -days 1 -subj /CN=%2 "
                       "-addext subjectAltName=DNS:%2")
            .arg(newKey, host));
    return readCredentials(QStringLiteral("leaf"));
}

Credentials TestAuthority::issued(const QString &host, int days) const {
    QFile extensions(m_folder.filePath(QStringLiteral("leaf.ext")));
    EXPECT_TRUE(extensions.open(QIODevice::WriteOnly));
    extensions.write("subjectAltName=DNS:" + host.toUtf8() + "\n");
    extensions.close();
    run(QStringLiteral("req %1 -keyout leaf.key -out leaf.csr -subj /CN=%2").arg(newKey, host));
    run(QStringLiteral("x509 -req -in leaf.csr -CA ca.crt -CAkey ca.key -CAcreateserial "
                       "-out leaf.crt -days %1 -extfile leaf.ext")
            .arg(days));
    return readCredentials(QStringLiteral("leaf"));
}

Credentials TestAuthority::readCredentials(const QString &name) const {
    return {QSslCertificate(read(name + QStringLiteral(".crt"))),
            QSslKey(read(name + QStringLiteral(".key")), QSsl::Ec)};
}

QByteArray TestAuthority::read(const QString &name) const {
    QFile file(m_folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
    return file.readAll();
}

void TestAuthority::run(const QString &command) const {
    // QProcess forks, after which the thread sanitizer no longer sees what the main thread does.
    const QString line =
        QStringLiteral("cd '%1' && openssl %2 >log 2>&1").arg(m_folder.path(), command);
    ASSERT_EQ(std::system(qPrintable(line)), 0)
        << qPrintable(command) << ": " << read(QStringLiteral("log")).constData();
}

} // namespace lumvik::test
