// Settings of tools by the fields of their kinds: one place reads words, checks ranges and writes text. Kinds
// have few fields, so that each look-up walks through them.

#include <kvmeasure/inspection/tool.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/region.h>

#include <cmath>

namespace KvMeasure {

namespace {

const QString noText;

/// The number of a field of the kind; -1: it has none of that key.
int indexOf(const ToolKind& kind, const QString& key) {
    for (std::size_t i = 0; i < kind.fields.size(); ++i) {
        if (key == QLatin1String(kind.fields[i].key))
            return static_cast<int>(i);
    }
    return -1;
}

const Tool::Setting* settingOf(const Tool& tool, const char* key) {
    for (std::size_t i = 0; i < tool.settings.size(); ++i) {
        if (qstrcmp(tool.kind->fields[i].key, key) == 0)
            return &tool.settings[i];
    }
    return nullptr;
}

bool isMissing(const Tool::Setting& setting) { return std::isnan(setting.number) && setting.text.isEmpty(); }

/// What is wrong with a value, or nothing and the setting.
QString read(const ToolField& field, const QString& value, Tool::Setting& setting) {
    if (field.type == ToolField::Choice) {
        const auto choice = field.choices.indexOf(value);
        if (choice < 0)
            return filledIn("expected %1, found \"%2\"%3", alternatives(field.choices), value,
                            suggestion(value, field.choices));
        setting = {double(choice), value};
        return QString();
    }
    double number = 0;
    const bool isAngle = qstrcmp(field.unit, "deg") == 0;
    const bool isNumber = parseQuantity(value, isAngle ? degreeUnits() : QStringList{field.unit}, number);
    if (field.type != ToolField::Number && !isNumber && isPlanName(value)) {
        setting = {std::numeric_limits<double>::quiet_NaN(), value};
        return QString();
    }
    if (field.type == ToolField::Region)
        return filledIn("expected the name of a region, found \"%1\"", value);
    if (!isNumber)
        return filledIn("expected %1 %2, found \"%3\"",
                        field.type == ToolField::Number ? "a number," : "a region or a number,",
                        QString(field.help), value);
    if (!(number >= field.least && number <= field.greatest))
        return filledIn("%1 must be from %2 to %3%4, not %5", QString(field.help), field.least,
                        field.greatest, *field.unit == '\0' ? QString() : QString(" ") + field.unit, value);
    setting = {number, QString()};
    return QString();
}

}  // namespace

Tool::Tool(const QString& toolName, const ToolKind& toolKind) : name(toolName), kind(&toolKind) {
    for (const ToolField& field : toolKind.fields)
        settings.push_back({field.absent, field.choices.value(0)});
}

double Tool::number(const char* key) const {
    const Setting* setting = settingOf(*this, key);
    return setting == nullptr ? std::numeric_limits<double>::quiet_NaN() : setting->number;
}

int Tool::choice(const char* key) const {
    const double number = this->number(key);
    return number > 0 ? static_cast<int>(number) : 0;
}

const QString& Tool::region(const char* key) const {
    const Setting* setting = settingOf(*this, key);
    return setting == nullptr ? noText : setting->text;
}

QString Tool::set(const char* key, const QString& value) {
    const int index = kind == nullptr ? -1 : indexOf(*kind, key);
    if (index < 0)
        return filledIn("has no setting \"%1\"", QString(key));
    return read(kind->fields[std::size_t(index)], value, settings[std::size_t(index)]);
}

QString Tool::valueName(const ToolValue& value) const {
    if (*value.ending == '\0')
        return name;
    const QLatin1String ending(value.ending);
    QString full;
    full.reserve(static_cast<int>(name.size() + ending.size()) + 1);
    full += name;
    full += QLatin1Char('.');
    full += ending;
    return full;
}

QStringList Tool::regions() const {
    QStringList names;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (kind->fields[i].type != ToolField::Choice && !settings[i].text.isEmpty())
            names.append(settings[i].text);
    }
    return names;
}

QStringList Tool::lineRegions() const {
    QStringList names;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (kind->fields[i].isLine && !settings[i].text.isEmpty())
            names.append(settings[i].text);
    }
    return names;
}

QString Tool::text() const {
    constexpr int kDigits = 10;
    QString words = filledIn("%1 = %2", name, QString(kind->word));
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const ToolField& field = kind->fields[i];
        const Setting& setting = settings[i];
        const bool isAbsent = !field.isRequired && (setting.number == field.absent || isMissing(setting));
        if (isAbsent && setting.text == field.choices.value(0))
            continue;
        const QString value =
            setting.text.isEmpty() ? QString::number(setting.number, 'g', kDigits) : setting.text;
        words += (*field.word == '\0' ? QString() : QString(" ") + field.word) + ' ' + value;
    }
    return words;
}

QString Tool::fault() const {
    if (kind == nullptr)
        return "has no kind";
    for (std::size_t i = 0; i < settings.size(); ++i) {
        const ToolField& field = kind->fields[i];
        if (field.isRequired && isMissing(settings[i]))
            return filledIn("lacks %1%2", *field.word == '\0' ? QString() : field.word + QString(" "),
                            QString(field.help));
    }
    return kind->fault == nullptr ? QString() : kind->fault(*this);
}

}  // namespace KvMeasure
