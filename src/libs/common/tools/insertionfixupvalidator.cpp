#include <common/tools/insertionfixupvalidator.h>

#include <QSet>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace tools
{

namespace
{

/// The characters that a pattern can take at any place. May hold too many, never too few.
class Alphabet
{
public:
    /// Nothing if the pattern cannot be read without knowing more of its syntax than is known here.
    static std::optional<Alphabet> Of(const QRegExp& regExp)
    {
        Alphabet alphabet(regExp.caseSensitivity());
        const bool readable =
            (regExp.patternSyntax() == QRegExp::RegExp || regExp.patternSyntax() == QRegExp::RegExp2) &&
            alphabet.Read(regExp.pattern());
        return readable ? std::optional<Alphabet>(alphabet) : std::nullopt;
    }

    bool Contains(QChar c) const
    {
        if ((spaces && c.isSpace()) || (digits && c.isDigit()) || Has(c)) {
            return true;
        }
        return ignoresCase && (Has(c.toLower()) || Has(c.toUpper()) || Has(c.toCaseFolded()));
    }

private:
    explicit Alphabet(Qt::CaseSensitivity sensitivity)
        : ignoresCase(sensitivity == Qt::CaseInsensitive)
    {}

    bool Read(const QString& pattern)
    {
        qsizetype classBegin = -1; // Where the "[" stands while inside a class.
        for (qsizetype i = 0; i < pattern.size(); ++i) {
            const QChar c = pattern.at(i);
            const QChar next = i + 1 < pattern.size() ? pattern.at(i + 1) : QChar();
            bool understood = true;
            if (c == u'\\') {
                understood = ReadEscaped(next);
                ++i;
            } else if (classBegin < 0) {
                classBegin = c == u'[' ? i : -1;
                understood = c != u'.' && !(c == u'[' && (next == u'^' || next == u']')) &&
                             !(c == u'(' && next == u'?' && pattern.mid(i, 3) != QLatin1String("(?:"));
                Add(c, c);
            } else if (c == u']') {
                classBegin = -1;
            } else if (c == u'-' && i > classBegin + 1 && next != u']') {
                understood = ReadRange(pattern, i);
            } else {
                Add(c, c);
            }
            if (!understood) {
                return false;
            }
        }
        return true;
    }

    bool ReadEscaped(QChar c)
    {
        spaces = spaces || c == u's';
        digits = digits || c == u'd';
        Add(c, c);
        return !c.isLetterOrNumber() || c == u's' || c == u'd';
    }

    /// The "-" at `position` and the characters beside it.
    bool ReadRange(const QString& pattern, qsizetype position)
    {
        if (position + 1 == pattern.size()) {
            return false;
        }
        const QChar first = pattern.at(position - 1);
        const QChar last = pattern.at(position + 1);
        Add(u'-', u'-');
        // The engine reads a range backwards, too.
        Add(std::min(first, last), std::max(first, last));
        const bool plain = pattern.at(position - 2) != u'\\' && last != u'\\';
        return plain && (!ignoresCase || (first.unicode() < 0x80 && last.unicode() < 0x80));
    }

    void Add(QChar first, QChar last)
    {
        ranges.emplace_back(first, last);
        if (ignoresCase && first == last) {
            for (const QChar form : {first.toLower(), first.toUpper(), first.toCaseFolded()}) {
                ranges.emplace_back(form, form);
            }
        }
    }

    bool Has(QChar c) const
    {
        return std::any_of(ranges.cbegin(), ranges.cend(),
                           [c](const auto& range) { return range.first <= c && c <= range.second; });
    }

    std::vector<std::pair<QChar, QChar>> ranges;
    bool ignoresCase;
    bool spaces = false;
    bool digits = false;
};

/// Whether what fits behind a prefix may depend on more than the prefix: on what follows, or on groups.
bool LooksFurther(const QRegExp& regExp)
{
    const QString pattern = regExp.pattern();
    for (qsizetype i = 0; i + 1 < pattern.size(); ++i) {
        if (pattern.at(i) == u'\\' && pattern.at(++i).isDigit()) {
            return true;
        }
    }
    return pattern.contains(QLatin1String("(?=")) || pattern.contains(QLatin1String("(?!"));
}

/// Removes from `position` on what no match can hold, wherever it stands: each would have to go in its turn.
void RemoveForeign(const Alphabet& alphabet, QString& input, qsizetype position)
{
    const auto begin = input.begin() + position;
    const auto end =
        std::remove_if(begin, input.end(), [&alphabet](QChar c) { return !alphabet.Contains(c); });
    input.truncate(end - input.begin());
}

} // namespace

CInsertionFixupValidator::CInsertionFixupValidator(QObject* parent)
    : QRegExpValidator(parent)
{}

CInsertionFixupValidator::CInsertionFixupValidator(const QRegExp& regExp, QObject* parent)
    : QRegExpValidator(regExp, parent)
{}

CInsertionFixupValidator::~CInsertionFixupValidator() = default;

QValidator::State CInsertionFixupValidator::validate(QString& input, int& pos) const
{
    fixup(input);
    return QRegExpValidator::validate(input, pos);
}

// After a failed match, matchedLength is the length of the longest prefix that the pattern can begin with.
// The character behind it has to go. Since a match begins at the start of the text again, two short cuts keep
// their number down without a change of the outcome.
void CInsertionFixupValidator::fixup(QString& input) const
{
    const QRegExp& held = regExp();
    static_cast<void>(held.exactMatch(input));
    if (input.isEmpty() || held.matchedLength() == input.size()) {
        return;
    }
    const bool looksFurther = LooksFurther(held);
    const std::optional<Alphabet> alphabet = Alphabet::Of(held);
    if (alphabet) {
        RemoveForeign(*alphabet, input, held.matchedLength());
        static_cast<void>(held.exactMatch(input));
    }
    QSet<QChar> refused; // What does not fit behind the prefix of the present length.
    while (!input.isEmpty() && held.matchedLength() != input.size()) {
        const int length = held.matchedLength();
        qsizetype end = length + 1;
        if (!looksFurther) {
            refused.insert(input.at(length));
            while (end < input.size() && refused.contains(input.at(end))) {
                ++end;
            }
        }
        input.remove(length, end - length);
        static_cast<void>(held.exactMatch(input));
        if (held.matchedLength() != length) {
            refused.clear();
        }
    }
}

} // namespace tools
