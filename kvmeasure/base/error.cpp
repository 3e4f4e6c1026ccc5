#include <kvmeasure/base/error.h>

namespace KvMeasure {

namespace {

constexpr QChar kParameterBegins(0x01);
constexpr QChar kParameterEnds(0x02);

/// The first marked parameter.
QString firstParameter(const QString& text) {
    const int begin = static_cast<int>(text.indexOf(kParameterBegins)) + 1;
    const int end = static_cast<int>(text.indexOf(kParameterEnds, begin));
    return begin > 0 && end > begin ? text.mid(begin, end - begin) : QString();
}

}  // namespace

QString withParameters(const QString& text, const ParameterName& name) {
    QString result;
    int from = 0;
    while (true) {
        const int begin = static_cast<int>(text.indexOf(kParameterBegins, from));
        const int end = begin < 0 ? -1 : static_cast<int>(text.indexOf(kParameterEnds, begin));
        if (end < 0)
            return result + text.mid(from);
        const QString parameter = text.mid(begin + 1, end - begin - 1);
        result += text.mid(from, begin - from) + (name ? name(parameter) : parameter);
        from = end + 1;
    }
}

QString withoutMarks(const QString& name) {
    return QString(name).replace(kParameterBegins, "\\u0001").replace(kParameterEnds, "\\u0002");
}

Error::Error(const QString& text)
    : std::runtime_error(withParameters(text).toStdString()), text_(text), parameter_(firstParameter(text)) {}

Error::~Error() = default;

Error& Error::inFile(const QString& path) {
    if (withoutMarks(path) != path)
        *this = withText(QString(text_).replace(path, withoutMarks(path)));
    file_ = path;
    return *this;
}

Error& Error::atLine(qint64 line) {
    line_ = line;
    return *this;
}

Error& Error::atOffset(qint64 offset) {
    offset_ = offset;
    return *this;
}

Error& Error::asCancelled() {
    isCancelled_ = true;
    return *this;
}

Error Error::at(const QString& place) const {
    const QString plain = withoutMarks(place);
    if (text_.startsWith(plain + ':'))
        return *this;
    return withText(plain + ": " + text_);
}

Error Error::renamed(const QString& from, const QString& to) const {
    if (from.isEmpty())
        return *this;
    Error error = withText(QString(text_).replace(withoutMarks(from), withoutMarks(to)));
    error.file_ = file_ == from ? to : file_;
    return error;
}

Error Error::withText(const QString& text) const {
    Error error(text);
    error.file_ = file_;
    error.line_ = line_;
    error.offset_ = offset_;
    error.isCancelled_ = isCancelled_;
    return error;
}

}  // namespace KvMeasure
