#pragma once

#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace lumvik {

/// Removes camera addresses, and the passwords that they carry, from texts.
///
/// Two nets, because the engine rewrites addresses in ways of its own:
///  - by form: everything that looks like "scheme://…", every Authorization header and every digest
///  response
///    goes, known or not;
///  - by value: of the addresses named with `protect`, the whole address, its passwords wherever
///  they stand
///    (before the host, in the query, in the path), and the pieces of them that the engine takes
///    for a host are looked for, also in the Base64 of HTTP basic authentication.
/// Both search the text as it stands and with percent- and backslash-escapes undone once and twice,
/// so that it does not matter who encoded what.
///
/// A plain value; not synchronised. LumvikLog owns the one that the program uses. `redact` takes
/// time in proportion to the text and to the number of addresses, about 0.1 ms for a line and 200
/// addresses.
class AddressRedaction {
  public:
    /// Adds the secrets of each address, also of those that are mistyped; addresses named earlier
    /// stay protected. Texts without credentials add nothing.
    void protect(const QStringList &addresses);

    /// `text` with each address replaced by "scheme://[address withheld]" and each secret by
    /// "[withheld]".
    [[nodiscard]] QString redact(const QString &text) const;

  private:
    QByteArrayList m_secrets; // UTF-8, sorted, each once
};

} // namespace lumvik
