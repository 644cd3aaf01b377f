#pragma once

#include <QString>
#include <QStringView>

#include <functional>

namespace tools::url
{

/// A part of a text that has the form of a link. The views are into the text.
struct UrlCandidate
{
    qsizetype start;    ///< In UTF-16 units of the text.
    qsizetype length;   ///< In UTF-16 units.
    QStringView scheme; ///< Empty for a bare host.
    bool hasAuthority;  ///< The scheme is followed by "://", not just by ":".
    QStringView host;   ///< Empty if there is a scheme.
};

/// Calls `handle` for the candidates of `text`, in their order. The time is linear in the text.
void ForEachUrlCandidate(const QString& text, const std::function<void(const UrlCandidate&)>& handle);

} // namespace tools::url
