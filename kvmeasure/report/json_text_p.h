#pragma once
// JSON as text, written member by member: what QJsonDocument writes of the same members, to the byte, without
// its tree of values, which takes ten times as long.

#include <kvmeasure/inspection/matching.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <string>

namespace KvMeasure {

/// One document. Members of an object are to be added in the ascending order of their keys, ASCII as they
/// stand.
class JsonText {
public:
    enum Layout { Compact, Indented };

    explicit JsonText(Layout layout) : isIndented_(layout == Indented) {}

    void beginObject() { begin('{'); }
    void beginArray() { begin('['); }
    void endObject() { end('}'); }
    void endArray() { end(']'); }
    /// What is begun or added next is a member of this name; `name` has no sign that JSON escapes.
    void key(const char* name);

    void add(double value);  ///< null for NaN and infinities
    void add(int value) { add(double(value)); }
    void add(bool value);
    void add(const QString& value);
    void add(const Vector& point);  ///< [x, y]
    template <class Any>
    void add(const char* name, const Any& value) {
        key(name);
        add(value);
    }

    /// What was written, without an end of line.
    QByteArray text() const { return QByteArray::fromStdString(text_); }

private:
    void begin(char bracket);
    void end(char bracket);
    void beginElement();
    void endLine();
    void addNull();

    std::string text_;
    std::size_t depth_ = 0;
    bool isIndented_, isFirst_ = true, isMember_ = false;
};

/// Members of an object with what jsonSegments and jsonValues give.
void writeSegments(JsonText& json, const char* name, const Segments& segments);
void writeValues(JsonText& json, const char* name, const QList<Value>& values);

}  // namespace KvMeasure
