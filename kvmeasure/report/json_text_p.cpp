#include <kvmeasure/report/json_text_p.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace KvMeasure {

namespace {

/// Any value as QJsonDocument writes it.
QByteArray anyValue(const QJsonValue& value) {
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

bool isPlain(QChar letter) { return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\'; }

}  // namespace

void JsonText::endLine() {
    if (isIndented_)
        text_.append(1, '\n').append(4 * depth_, ' ');
}

void JsonText::beginElement() {
    if (isMember_) {
        isMember_ = false;
        return;
    }
    if (depth_ == 0)
        return;
    if (!isFirst_)
        text_ += ',';
    isFirst_ = false;
    endLine();
}

void JsonText::key(const char* name) {
    beginElement();
    text_.append(1, '"').append(name).append(isIndented_ ? "\": " : "\":");
    isMember_ = true;
}

void JsonText::begin(char bracket) {
    beginElement();
    text_ += bracket;
    ++depth_;
    isFirst_ = true;
}

void JsonText::end(char bracket) {
    --depth_;
    endLine();
    text_ += bracket;
    isFirst_ = false;
}

void JsonText::add(double value) {
    constexpr double kLeast = 1e-3, kWhole = 1e15;  // between them Qt 5 and 6 write no exponent
    if (!std::isfinite(value)) {
        addNull();
        return;
    }
    beginElement();
    const double size = std::fabs(value);
    char digits[32];
    std::to_chars_result end{digits, std::errc::invalid_argument};
    if (size < kWhole && value == std::trunc(value))
        end = std::to_chars(digits, digits + sizeof(digits), static_cast<qint64>(value));
    else if (size >= kLeast && size < kWhole)
        end = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed);
    if (end.ec == std::errc())
        text_.append(digits, end.ptr);
    else
        text_ += anyValue(value).toStdString();
}

void JsonText::add(bool value) {
    beginElement();
    text_.append(value ? "true" : "false");
}

void JsonText::addNull() {
    beginElement();
    text_.append("null");
}

void JsonText::add(const QString& value) {
    beginElement();
    if (!std::all_of(value.begin(), value.end(), isPlain)) {
        text_ += anyValue(value).toStdString();
        return;
    }
    text_ += '"';
    for (const QChar letter : value)
        text_ += letter.toLatin1();
    text_ += '"';
}

void JsonText::add(const Vector& point) {
    beginArray();
    add(point.x);
    add(point.y);
    endArray();
}

}  // namespace KvMeasure
