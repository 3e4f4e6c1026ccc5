#include <kvmath/tsearch/template_document.h>

#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/template.h>

namespace KvMath {

namespace {

QString fileVersionKey() { return QStringLiteral("fileVersion"); }
QString userVersionKey() { return QStringLiteral("userVersion"); }
QString documentNameKey() { return QStringLiteral("name"); }
QString templateKey() { return QStringLiteral("template"); }
QString measurementsKey() { return QStringLiteral("measurements"); }

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
