#include <kvmath/tsearch/template_document.h>

#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/template.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

namespace KvMath {

namespace {

QString fileVersionKey() { return QStringLiteral("fileVersion"); }
QString userVersionKey() { return QStringLiteral("userVersion"); }
QString documentNameKey() { return QStringLiteral("name"); }
QString templateKey() { return QStringLiteral("template"); }
QString measurementsKey() { return QStringLiteral("measurements"); }

/// A value out of JSON with all its numbers as doubles: Qt gives those without a fraction as integers. JSON
/// bounds the depth.
QVariant withDoubles(const QVariant& value) {
    switch (value.userType()) {
    case QMetaType::QVariantMap: {
        QVariantMap map = value.toMap();
        for (QVariant& entry : map)
            entry = withDoubles(entry);
        return map;
    }
    case QMetaType::QVariantList: {
        QVariantList list = value.toList();
        for (QVariant& entry : list)
            entry = withDoubles(entry);
        return list;
    }
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return value.toDouble();
    default:
        return value;
    }
}

/// True when the entry, where it is there, is no bound that would count as unset without saying so.
bool isBoundOrMissing(const QVariantMap& constraint, const QString& key) {
    const QVariant value = constraint.value(key);
    return !constraint.contains(key) || value.userType() == QMetaType::Double ||
           (value.userType() == QMetaType::QString && value.toString() == QStringLiteral("undefined"));
}

}  // namespace

bool loadTemplate(const QVariant& doc, TSTemplate& templ, TSMeasurementList& measurements,
                  QString& fileVersion, QString& userVersion, QString& name) {
    if (doc.userType() != QMetaType::QVariantMap)
        return false;
    const QVariantMap map = doc.toMap();
    fileVersion = map.value(fileVersionKey()).toString();
    userVersion = map.value(userVersionKey()).toString();
    name = map.value(documentNameKey()).toString();
    const bool isTemplateLoaded = templ.load(map.value(templateKey()));
    const bool areMeasurementsLoaded = measurements.load(map.value(measurementsKey()));
    return isTemplateLoaded && areMeasurementsLoaded;
}

bool templateDocumentFromJson(const QByteArray& json, QVariant& doc) {
    const QJsonDocument read = QJsonDocument::fromJson(json);
    if (!read.isObject())
        return false;
    const QVariantMap map = withDoubles(read.object().toVariantMap()).toMap();
    const QVariantList constraints =
        map.value(templateKey()).toMap().value(QStringLiteral("constraints")).toList();
    const bool areBounds = std::all_of(constraints.begin(), constraints.end(), [](const QVariant& entry) {
        const QVariantMap constraint = entry.toMap();
        return isBoundOrMissing(constraint, QStringLiteral("lowerBound")) &&
               isBoundOrMissing(constraint, QStringLiteral("upperBound"));
    });
    if (areBounds)
        doc = map;
    return areBounds;
}

bool loadTemplateFromJson(const QByteArray& json, TSTemplate& templ, TSMeasurementList& measurements,
                          QString& fileVersion, QString& userVersion, QString& name) {
    QVariant doc;
    return templateDocumentFromJson(json, doc) &&
           loadTemplate(doc, templ, measurements, fileVersion, userVersion, name);
}

bool saveTemplate(QVariant& doc, const TSTemplate& templ, const TSMeasurementList& measurements,
                  const QString& fileVersion, const QString& userVersion, const QString& name) {
    QVariant templateMap;
    QVariant measurementMaps;
    if (!templ.save(templateMap) || !measurements.save(measurementMaps))
        return false;
    doc = QVariantMap{{fileVersionKey(), fileVersion},
                      {userVersionKey(), userVersion},
                      {documentNameKey(), name},
                      {templateKey(), templateMap},
                      {measurementsKey(), measurementMaps}};
    return true;
}

}  // namespace KvMath
