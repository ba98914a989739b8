#include "testcamera/OnvifLogin.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <cstdlib>

namespace lumvik::test {

namespace {

constexpr const char *realm = "Test Camera";
constexpr const char *nonce = "6b1a2f0c9d8e7f65";

QByteArray md5(const QByteArray &text) {
    return QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
}

/// Returns the value of a field in an Authorization header.
QByteArray field(const QByteArray &authorization, const char *name) {
    const QRegularExpression pattern(
        QStringLiteral("[ ,]%1=\"?([^\",]*)").arg(QLatin1String(name)));
    return pattern.match(QString::fromUtf8(authorization)).captured(1).toUtf8();
}

} // namespace

OnvifLogin::OnvifLogin(const CameraOptions &options, LoginLock &lock)
    : m_options(options)
    , m_lock(lock) {}

QDateTime OnvifLogin::cameraTime(const QDateTime &utc) const {
    return m_options.onvif.faults.contains(OnvifFault::ClockHourOff) ? utc.addSecs(3600) : utc;
}

OnvifLogin::Verdict OnvifLogin::judge(const SoapRequest &request, const QByteArray &authorization,
                                      const QByteArray &target, const QDateTime &utc,
                                      double seconds) {
    if (m_options.user.isEmpty())
        return Verdict::Accepted;
    const bool wantsDigest = m_options.onvif.faults.contains(OnvifFault::HttpDigest);
    const bool hasLogin = wantsDigest ? authorization.startsWith("Digest ")
                                      : request.texts.contains(QStringLiteral("Username"));
    if (!hasLogin)
        return Verdict::Missing;
    const bool isRight =
        wantsDigest ? isRightDigest(authorization, target) : isRightToken(request, utc);
    return m_lock.accepts(isRight, seconds) ? Verdict::Accepted : Verdict::Refused;
}

QByteArray OnvifLogin::challenge() const {
    if (!m_options.onvif.faults.contains(OnvifFault::HttpDigest))
        return {};
    return QByteArray("WWW-Authenticate: Digest realm=\"") + realm + "\", nonce=\"" + nonce +
           "\", qop=\"auth\", algorithm=MD5\r\n";
}

bool OnvifLogin::isRightToken(const SoapRequest &request, const QDateTime &utc) const {
    const auto text = [&request](const char *name) {
        return request.texts.value(QLatin1String(name));
    };
    const QDateTime created = QDateTime::fromString(text("Created"), Qt::ISODateWithMs);
    const bool isLocal = m_options.onvif.faults.contains(OnvifFault::LocalTime);
    const QDateTime expected = cameraTime(utc).addSecs(isLocal ? 2 * 3600 : 0);
    const QByteArray digest =
        QCryptographicHash::hash(QByteArray::fromBase64(text("Nonce").toLatin1()) +
                                     text("Created").toUtf8() + m_options.password.toUtf8(),
                                 QCryptographicHash::Sha1);
    return created.isValid() && std::abs(created.secsTo(expected)) <= largestTimeDifference &&
           text("Username") == m_options.user && text("Password").toLatin1() == digest.toBase64();
}

bool OnvifLogin::isRightDigest(const QByteArray &authorization, const QByteArray &target) const {
    const QByteArray secret =
        md5(m_options.user.toUtf8() + ':' + realm + ':' + m_options.password.toUtf8());
    const QByteArray expected =
        md5(secret + ':' + nonce + ':' + field(authorization, "nc") + ':' +
            field(authorization, "cnonce") + ":auth:" + md5("POST:" + target));
    return field(authorization, "username") == m_options.user.toUtf8() &&
           field(authorization, "uri") == target && field(authorization, "response") == expected;
}

} // namespace lumvik::test
