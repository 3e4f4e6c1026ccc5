// A pattern is the texts around its fields. It is matched from left to right without going back, so that the
// work is a pass over the name.

#include <kvmeasure/statistics/name_fields.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/profiles/data_table.h>

#include <QtCore/QRegularExpression>

namespace KvMeasure {

QString shortName(const QString& name, int folders) {
    static const QRegularExpression number("#\\d+$"), ending("\\.[^./]*$");
    QString text = name.section('/', -1 - folders);
    text.remove(number);
    return text.indexOf(ending) > 0 ? text.remove(ending) : text;
}

NamePattern::NamePattern(const QString& pattern) : pattern_(pattern) {
    static const QRegularExpression word("^[\\w-]*$", QRegularExpression::UseUnicodePropertiesOption);
    const auto fail = [&](const QString& reason) -> void {
        throw Error(filledIn("the pattern \"%1\" %2; it is written as \"part{part}_{appraiser}_{trial}\"",
                             pattern, reason));
    };
    const QStringList parts = pattern.split('{');
    texts_.append(parts.first());
    for (int i = 1; i < static_cast<int>(parts.size()); ++i) {
        const QStringList halves = parts[i].split('}');
        if (halves.size() != 2)
            fail("has { without }, or } without {");
        const QString& field = halves[0];
        if (!word.match(field).hasMatch())
            fail(filledIn("has a field \"%1\"; fields are words of letters, digits, - and _", field));
        if (!field.isEmpty() && fields_.contains(field))
            fail(filledIn("has the field \"%1\" twice", field));
        if (i > 1 && texts_.last().isEmpty())
            fail(filledIn("has no text between {%1} and {%2}", fields_.last(), field));
        fields_.append(field);
        texts_.append(halves[1]);
    }
    if (texts_.first().contains('}'))
        fail("has { without }, or } without {");
    if (fields_.join("").isEmpty())
        fail("has no field");
}

QStringList NamePattern::fit(const QString& text) const {
    if (!text.startsWith(texts_.first()) || !text.endsWith(texts_.last()))
        return {};
    QStringList words;
    auto at = texts_.first().size();
    const auto end = text.size() - texts_.last().size();
    for (int i = 1; i < static_cast<int>(texts_.size()); ++i) {
        const bool isLast = i + 1 == static_cast<int>(texts_.size());
        const auto next = isLast ? end : text.indexOf(texts_[i], at + 1);
        if (next <= at || next > end)
            return {};
        words.append(text.mid(at, next - at));
        at = next + texts_[i].size();
    }
    return words;
}

QStringList NamePattern::wordsOf(const QString& name) const {
    const auto folders = static_cast<int>(pattern_.count('/'));
    const QStringList words = fit(shortName(name, folders));
    return words.isEmpty() ? fit(name.section('/', -1 - folders)) : words;
}

NameTable::NameTable(const QString& path) {
    QList<int> columns;
    const DataTable table = readDataTable(path, [&](const QList<Heading>& headings) {
        int names = -1;
        for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
            static const QStringList words{"file", "profile", "name"};
            if (names < 0 && words.contains(headings[i].text, Qt::CaseInsensitive))
                names = i;
        }
        TableColumns wanted;
        wanted.words.append(std::max(names, 0));
        for (int i = 0; i < static_cast<int>(headings.size()); ++i) {
            if (i == wanted.words.first())
                continue;
            wanted.words.append(i);
            fields_.append(headings[i].text);
        }
        return wanted;
    });
    if (fields_.isEmpty())
        throw Error(filledIn("%1: has one column; it needs one of file names and others of fields", path))
            .inFile(path);
    for (int row = 0; row < static_cast<int>(table.lines.size()); ++row) {
        QStringList words;
        for (std::size_t i = 1; i < table.words.size(); ++i)
            words.append(table.words[i][row]);
        const QString& name = table.words[0][row];
        const qint64 line = table.lines[static_cast<std::size_t>(row)];
        if (words_.contains(name))
            throw Error(filledIn("%1: line %2: \"%3\" is there twice", path, line, name))
                .inFile(path)
                .atLine(line);
        words_.insert(name, words);
    }
    // The short name serves where it is one alone.
    QHash<QString, QStringList> shortened;
    for (auto it = words_.constBegin(); it != words_.constEnd(); ++it) {
        const QString name = shortName(it.key());
        if (!words_.contains(name))
            shortened.insert(name, shortened.contains(name) ? QStringList() : it.value());
    }
    for (auto it = shortened.constBegin(); it != shortened.constEnd(); ++it)
        words_.insert(it.key(), it.value());
}

QStringList NameTable::wordsOf(const QString& name) const {
    const auto found = words_.constFind(name);
    return found != words_.constEnd() ? *found : words_.value(shortName(name));
}

}  // namespace KvMeasure
