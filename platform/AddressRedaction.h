#pragma once

#include <QString>
#include <QStringList>

namespace lumvik {

/// Removes camera addresses, and the passwords that they carry, from texts.
///
/// Two nets, because the engine rewrites addresses in ways of its own:
///  - by form: everything that looks like "scheme://…" and every Authorization header goes, known
///  or not;
///  - by value: the passwords of the addresses named with `protect` are looked for
///  raw,
///    percent-decoded, percent-encoded, and in the Base64 of HTTP basic authentication.
///
/// A plain value; not synchronised. LumvikLog owns the one that the program uses.
class AddressRedaction {
  public:
    /// Adds the secrets of each address; addresses named earlier stay protected. Texts that are no
    /// address with credentials add nothing.
    void protect(const QStringList &addresses);

    /// `text` with each address replaced by "scheme://[address withheld]" and each secret by
    /// "[withheld]".
    [[nodiscard]] QString redact(const QString &text) const;

  private:
    void addSecret(const QString &secret);

    QStringList m_secrets; // longest first, so that no secret is cut by a shorter one inside it
};

} // namespace lumvik
