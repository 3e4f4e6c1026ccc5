#include "cli/parameters.h"

namespace KvMeasure {

QString optionOf(const QString& parameter) {
    static const struct {
        const char *parameter, *option;
    } others[] = {{"form", "--format"},          {"heightLast", "--axes"}, {"minLineLength", "--min-length"},
                  {"splitTolerance", "--split"}, {"step", "--scan-step"},  {"units", "--unit"}};
    for (const auto& row : others) {
        if (parameter == QLatin1String(row.parameter))
            return row.option;
    }
    QString option = "--";
    for (const QChar c : parameter)
        option += c.isUpper() ? QString('-') + c.toLower() : QString(c);
    return option;
}

}  // namespace KvMeasure
