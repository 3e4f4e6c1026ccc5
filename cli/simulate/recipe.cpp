#include "cli/simulate/recipe.h"
#include "cli/exit_code.h"

#include "cli/console.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

namespace KvMeasure {

Usage withShapes(Usage usage, const std::vector<QString>& shapes,
                 std::vector<Simulator::Dimension> (*dimensionsOf)(const QString&)) {
    QString text = "Shapes and their dimensions\n";
    for (const QString& shape : shapes) {
        text += "  " + shape + '\n';
        for (const Simulator::Dimension& d : dimensionsOf(shape))
            text += filledIn("    %1  %2 %3, %4 to %5: %6\n", QString(d.name).leftJustified(14), d.standard,
                             d.unit, d.minimum, d.maximum, d.meaning);
    }
    usage.details.prepend(text + '\n');
    for (Option& option : usage.options) {
        if (option.name == QLatin1String("--shape"))
            option.choices = QStringList(shapes.begin(), shapes.end());
    }
    return usage;
}

QString chooseShape(const Arguments& arguments, const std::vector<QString>& shapes, const QString& absent) {
    QString shape = arguments.has("--shape") ? arguments.text("--shape") : absent;
    QStringList names;
    for (const QString& name : shapes)
        names.append(name);
    if (!names.contains(shape))
        throw Error(QString("simulate: unknown shape \"%1\"; there are %2%3")
                        .arg(shape, names.join(", "), suggestion(shape, names)));
    return shape;
}

QMap<QString, double> readDimensions(const QString& text, const QString& shape,
                                     const std::vector<Simulator::Dimension>& dimensions) {
    QStringList known;
    for (const Simulator::Dimension& dimension : dimensions)
        known.append(dimension.name);
    QMap<QString, double> values;
    for (const QString& part : text.split(',')) {
        if (part.trimmed().isEmpty())
            continue;
        const QString name = part.section('=', 0, 0).trimmed();
        double value = 0;
        if (!parseNumber(part.section('=', 1), value))
            throw Error(
                QString("simulate: --dimensions: expected NAME=NUMBER, found \"%1\"").arg(part.trimmed()));
        if (!known.contains(name))
            throw Error(QString("simulate: --dimensions: %1 has no \"%2\"; it has %3%4")
                            .arg(shape, name, known.join(", "), suggestion(name, known)));
        values[name] = value;
    }
    return values;
}

void reportTruth(bool isJson, const QString& path, const QString& summary, qint64 points,
                 const QString& shape, const std::vector<Simulator::TrueValue>& values) {
    if (isJson) {
        QJsonArray array;
        for (const Simulator::TrueValue& value : values)
            array.append(
                QJsonObject{{"name", value.name}, {"value", jsonNumber(value.value)}, {"unit", value.unit}});
        printJson({{"file", path}, {"shape", shape}, {"points", points}, {"truth", array}});
        return;
    }
    Table table({"true value", "", "unit"});
    for (const Simulator::TrueValue& value : values)
        table.add({value.name, mm(value.value), value.unit});
    print(QString("%1: %2\n").arg(printable(path), summary) + table.text());
}

}  // namespace KvMeasure
