#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/text.h>

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>

namespace KvMeasure {

void print(const QString& text) {
    QString shown = withParameters(text, optionOf);
    QStringList lines = shown.split('\n');
    if (!std::all_of(lines.begin(), lines.end(), isPrintable)) {
        for (QString& line : lines)
            line = printable(line);
        shown = lines.join('\n');
    }
    const QByteArray bytes = shown.toUtf8();
    errno = 0;
    if (std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout) !=
            static_cast<std::size_t>(bytes.size()) ||
        std::fflush(stdout) != 0)
        throw Error("standard output cannot be written: " + qt_error_string(errno));
}

void complain(const QString& text) {
    std::fprintf(stderr, "kvmeasure: %s\n", printable(text).toUtf8().constData());
}

int forEachFile(const QStringList& paths, const std::function<void(const QString& path)>& work) {
    int code = Done;
    for (const QString& path : paths) {
        try {
            work(path);
        } catch (const Error& error) {
            complain(error.text(optionOf));
            code = Refused;
        }
    }
    return code;
}

void printJson(const QJsonObject& object) { print(QString::fromUtf8(QJsonDocument(object).toJson())); }

}  // namespace KvMeasure
