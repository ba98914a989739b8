#include "TestAuthority.h"

#include <QDateTime>
#include <QFile>

#include <gtest/gtest.h>

#include <cstdlib>

namespace lumvik::test {

namespace {

const QString newKey = QStringLiteral("-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes");

} // namespace

TestAuthority::TestAuthority() {
    write(QStringLiteral("ca.conf"), "[ca]\n"
                                     "default_ca = authority\n"
                                     "[authority]\n"
                                     "certificate = ca.crt\n"
                                     "private_key = ca.key\n"
                                     "database = issued\n"
                                     "new_certs_dir = .\n"
                                     "rand_serial = yes\n"
                                     "unique_subject = no\n"
                                     "default_md = sha256\n"
                                     "policy = names\n"
                                     "[names]\n"
                                     "commonName = supplied\n");
    write(QStringLiteral("issued"), "");
    run(QStringLiteral("req -x509 %1 -keyout ca.key -out ca.crt -days 1 -subj /CN=Authority")
            .arg(newKey));
}

QSslCertificate TestAuthority::certificate() const {
    return QSslCertificate(read(QStringLiteral("ca.crt")));
}

Credentials TestAuthority::credentials(const QString &host) const {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    return issued(host, now, now.addDays(1));
}

Credentials TestAuthority::expiredCredentials(const QString &host) const {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    return issued(host, now.addDays(-2), now.addDays(-1));
}

Credentials TestAuthority::selfSignedCredentials(const QString &host) const {
    run(QStringLiteral("req -x509 %1 -keyout leaf.key -out leaf.crt -days 1 -subj /CN=%2 "
                       "-addext subjectAltName=DNS:%2")
            .arg(newKey, host));
    return readCredentials(QStringLiteral("leaf"));
}

Credentials TestAuthority::issued(const QString &host, const QDateTime &from,
                                  const QDateTime &until) const {
    write(QStringLiteral("leaf.ext"), "subjectAltName=DNS:" + host.toUtf8() + "\n");
    run(QStringLiteral("req %1 -keyout leaf.key -out leaf.csr -subj /CN=%2").arg(newKey, host));
    // "openssl ca" is the only command that can issue an expired certificate in all versions of
    // OpenSSL.
    const QString format = QStringLiteral("yyyyMMddHHmmss'Z'");
    run(QStringLiteral("ca -batch -notext -config ca.conf -in leaf.csr -out leaf.crt "
                       "-startdate %1 -enddate %2 -extfile leaf.ext")
            .arg(from.toString(format), until.toString(format)));
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

void TestAuthority::write(const QString &name, const QByteArray &content) const {
    QFile file(m_folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(name);
    file.write(content);
}

void TestAuthority::run(const QString &command) const {
    // QProcess is not used here, because the thread sanitizer loses track of the main thread after
    // a fork.
    const QString line =
        QStringLiteral("cd '%1' && openssl %2 >log 2>&1").arg(m_folder.path(), command);
    ASSERT_EQ(std::system(qPrintable(line)), 0)
        << qPrintable(command) << ": " << read(QStringLiteral("log")).constData();
}

} // namespace lumvik::test
