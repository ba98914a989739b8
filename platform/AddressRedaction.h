#pragma once

#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace lumvik {

/// Removes camera addresses, and the passwords that they contain, from texts.
///
/// Two kinds of search are combined, because the engine does not always report an address as it was
/// entered:
/// - By form: everything that looks like "scheme://…", every Authorization header and every digest
///   response is removed, whether or not the address is known.
/// - By value: for each address passed to `protect`, the search covers the whole address, its
///   passwords wherever they are (before the host, in the query, in the path), and those parts of a
///   password that the engine mistakes for a host. The search also covers the Base64 form used by
///   HTTP basic authentication.
///
/// Both searches examine the text as given, and again with percent and backslash escapes undone
/// once and twice. An address is therefore found even after two programs have escaped it.
///
/// The class is a plain value without synchronisation. LumvikLog owns the instance that the program
/// uses. `redact` takes time in proportion to the length of the text and the number of addresses:
/// about 0.1 ms for one line and 200 addresses.
class AddressRedaction {
  public:
    /// Adds the secrets of each address, including mistyped addresses. Addresses from earlier calls
    /// stay protected. Texts without credentials add nothing.
    void protect(const QStringList &addresses);

    /// Returns `text` with each address replaced by "scheme://[address withheld]" and each secret
    /// by "[withheld]".
    [[nodiscard]] QString redact(const QString &text) const;

  private:
    QByteArrayList m_secrets; // UTF-8, sorted, without duplicates
};

} // namespace lumvik
