#pragma once
// Template document: a template, its measurements and three texts in one QVariant, the content of a template
// file.

#include <kvmath/core/global.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace KvMath {

class TSMeasurementList;
class TSTemplate;

/// Reads a map with "fileVersion", "userVersion", "name" (strings, empty when missing; not interpreted),
/// "template" (see TSTemplate::load) and "measurements" (see TSMeasurementList::load). A document that is no
/// map: false, nothing changed. Otherwise both parts are loaded, replacing what the arguments held; false
/// when either fails or is missing.
KVMATH_EXPORT bool loadTemplate(const QVariant& doc, TSTemplate& templ, TSMeasurementList& measurements,
                                QString& fileVersion, QString& userVersion, QString& name);

/// Writes such a map. False, and `doc` untouched, when a part cannot be saved.
KVMATH_EXPORT bool saveTemplate(QVariant& doc, const TSTemplate& templ, const TSMeasurementList& measurements,
                                const QString& fileVersion, const QString& userVersion, const QString& name);

}  // namespace KvMath
