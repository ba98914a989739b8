#pragma once

#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace lumvik {

/// Removes camera addresses, and the passwords that they contain, from texts.
///
/// Two searches run side by side, because the engine rewrites addresses in its own ways:
/// - By form: everything that looks like "scheme://…", every Authorization header and every digest
///   response is removed, whether or not the address is known.
/// - By value: for each address passed to `protect`, the search covers the whole address, its
///   passwords wherever they are (before the host, in the query, in the path), and those parts of a
///   password that the engine mistakes for a host. It also covers the Base64 form used by HTTP
///   basic authentication.
///
/// Both searches examine the text as given and with percent- and backslash-escapes undone once and
/// twice, so it does not matter which program encoded what.
///
/// A plain value without synchronisation. LumvikLog owns the instance that the program uses.
/// `redact` takes time in proportion to the length of the text and the number of addresses: about
/// 0.1 ms for one line and 200 addresses.
class AddressRedaction {
  public:
    /// Adds the secrets of each address, including mistyped addresses. Earlier addresses stay
    /// protected. Texts without credentials add nothing.
    void protect(const QStringList &addresses);

    /// Returns `text` with each address replaced by "scheme://[address withheld]" and each secret
    /// by "[withheld]".
    [[nodiscard]] QString redact(const QString &text) const;

  private:
    QByteArrayList m_secrets; // UTF-8, sorted, without duplicates
};

} // namespace lumvik
