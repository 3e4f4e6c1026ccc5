// "NAME = KIND ... : TOLERANCE": the words follow the description of the kind's settings.

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/expression.h>

namespace KvMeasure {

namespace {

/// One statement, taken word by word.
class ToolStatement {
public:
    explicit ToolStatement(const QString& text) : text_(text.simplified()) {}

    WrittenTool read();

private:
    [[noreturn]] void fail(const QString& reason) const {
        throw Error(filledIn("\1measure\2 \"%1\": %2 (see \"kvmeasure measure --help\")", withoutMarks(text_),
                             withoutMarks(reason)));
    }
    void readSettings(Tool& tool);
    std::size_t fieldOf(const ToolKind& kind, const QString& word) const;
    void readTolerances(const QString& text, WrittenTool& written) const;

    QString text_;
    QStringList words_;
    std::vector<bool> isSet_;
};

/// The field that a word introduces, or that takes it in its place; the number of fields: none.
std::size_t ToolStatement::fieldOf(const ToolKind& kind, const QString& word) const {
    const std::vector<ToolField>& fields = kind.fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (*fields[i].word != '\0' && word == QLatin1String(fields[i].word))
            return i;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (*fields[i].word == '\0' && fields[i].type == ToolField::Choice &&
            fields[i].choices.contains(word))
            return i;
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (*fields[i].word == '\0' && fields[i].type != ToolField::Choice && !isSet_[i])
            return i;
    }
    return fields.size();
}

void ToolStatement::readSettings(Tool& tool) {
    const std::vector<ToolField>& fields = tool.kind->fields;
    isSet_.assign(fields.size(), false);
    while (!words_.isEmpty()) {
        QString word = words_.takeFirst();
        const std::size_t index = fieldOf(*tool.kind, word);
        if (index == fields.size())
            fail(filledIn("unexpected \"%1\"", word));
        const ToolField& field = fields[index];
        if (isSet_[index])
            fail(filledIn("\"%1\" stands twice", word));
        isSet_[index] = true;
        if (*field.word != '\0') {
            if (words_.isEmpty())
                fail(filledIn("expected %1 behind \"%2\"", QString(field.help), word));
            word = words_.takeFirst();
        }
        const QString fault = tool.set(field.key, word);
        if (!fault.isEmpty())
            fail(fault);
    }
    if (!tool.fault().isEmpty())
        fail(tool.fault());
}

void ToolStatement::readTolerances(const QString& text, WrittenTool& written) const {
    const Tool& tool = written.tool;
    QStringList endings;
    for (const ToolValue& value : tool.kind->values)
        endings.append(value.ending);
    for (const QString& part : text.split(',')) {
        QString rest = part.simplified();
        const QString first = rest.section(' ', 0, 0);
        QString name = tool.name;
        if (!first.isEmpty() && endings.contains(first)) {
            name += '.' + first;
            rest = rest.mid(first.size()).trimmed();
        } else if (!endings.contains("")) {
            fail(filledIn("has several values; say whose tolerance it is, e.g. \": %1 max 3\" (%2)",
                          endings.first(), endings.join(", ")));
        }
        WrittenTolerance tolerance;
        const QString problem = parseTolerance(rest, tolerance);
        if (!problem.isEmpty())
            fail(problem);
        written.tolerances.append({name, tolerance});
    }
}

WrittenTool ToolStatement::read() {
    const int colon = static_cast<int>(text_.indexOf(':'));
    const QString body = colon < 0 ? text_ : text_.left(colon);
    const int equals = static_cast<int>(body.indexOf('='));
    if (equals < 0)
        fail("\"NAME =\" is missing in front");
    const QString name = body.left(equals).trimmed();
    if (!isPlanName(name))
        fail(filledIn("\"%1\" is no name: letters, digits, - and _, and not a number", name));
    words_ = body.mid(equals + 1).simplified().split(' ');
    const QString word = words_.takeFirst();
    const ToolKind* kind = findToolKind(word);
    if (kind == nullptr) {
        QStringList known;
        for (const ToolKind* one : toolKinds())
            known.append(one->word);
        fail(filledIn("\"%1\" is no kind of measurement; expected %2%3", word, known.join(", "),
                      suggestion(word, known)));
    }
    WrittenTool written{Tool(name, *kind), {}};
    readSettings(written.tool);
    if (colon >= 0)
        readTolerances(text_.mid(colon + 1), written);
    return written;
}

/// "box in REGION", with what may be left out in brackets.
QString grammar(const ToolKind& kind) {
    QString words = kind.word;
    for (const ToolField& field : kind.fields) {
        QString value =
            field.type == ToolField::Choice ? field.choices.join('|') : QString(field.key).toUpper();
        if (*field.word != '\0')
            value = field.word + QString(" ") + value;
        words += field.isRequired ? " " + value : " [" + value + ']';
    }
    return words;
}

}  // namespace

WrittenTool parseTool(const QString& text) { return ToolStatement(text).read(); }

void addTools(const QString& text, InspectionPlan& plan) {
    constexpr int kMostStatements = 1000;
    QString statements = text;
    const QStringList parts = statements.replace('\n', ';').split(';');
    if (parts.size() + plan.tools.size() > kMostStatements)
        throw Error(filledIn("\1measure\2 has more than %1 statements", kMostStatements));
    QList<WrittenTool> written;
    for (const QString& part : parts) {
        if (!part.trimmed().isEmpty())
            written.append(parseTool(part));
    }
    QMap<QString, WrittenTolerance> tolerances;
    for (const WrittenTool& one : written) {
        for (const auto& [name, tolerance] : one.tolerances)
            tolerances[name] = tolerance;
    }
    settleTolerances(tolerances, {}, plan);
    for (const WrittenTool& one : written)
        plan.tools.append(one.tool);
}

QString toolHelp() {
    constexpr int kColumn = 30;
    const QString indent(kColumn, ' ');
    QString text;
    for (const ToolKind* kind : toolKinds()) {
        const QString head = "  " + grammar(*kind);
        text += head.size() < kColumn ? head.leftJustified(kColumn) : head + '\n' + indent;
        text += kind->help;
        QStringList values;
        for (const ToolValue& value : kind->values)
            values.append(*value.ending == '\0' ? QString("NAME") : QString("NAME.") + value.ending);
        text += (values.size() > 1 ? ":\n" + indent + values.join(", ") : QString()) + '\n';
    }
    return text;
}

}  // namespace KvMeasure
