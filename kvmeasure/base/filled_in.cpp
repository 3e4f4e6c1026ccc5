#include <kvmeasure/base/filled_in.h>

namespace KvMeasure {

QString filledInFrom(const char* pattern, const QStringList& values) {
    const QString places = QString::fromUtf8(pattern);
    constexpr int kMostDigits = 2;
    QString text;
    text.reserve(2 * places.size());
    int i = 0;
    while (i < places.size()) {
        const int plain = static_cast<int>(places.indexOf('%', i));
        if (plain != i) {
            const int size = (plain < 0 ? static_cast<int>(places.size()) : plain) - i;
            text.append(places.constData() + i, size);
            i += size;
            continue;
        }
        int number = 0;
        int end = i + 1;
        while (end < places.size() && end - i <= kMostDigits && places[end].isDigit())
            number = 10 * number + places[end++].digitValue();
        if (number < 1 || number > values.size()) {
            end = i + 1;
            text += places[i];
        } else {
            text += values[number - 1];
        }
        i = end;
    }
    return text;
}

}  // namespace KvMeasure
