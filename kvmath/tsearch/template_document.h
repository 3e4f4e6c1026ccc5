#pragma once
// Template document: a template, its measurements and three texts in one QVariant, the content of a template
// file.

#include <kvmath/base/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace KvMath {

class TSMeasurementList;
class TSTemplate;

/// Reads a map with "fileVersion", "userVersion", "name" (strings, empty when missing; not interpreted),
/// "template" (see TSTemplate::load) and "measurements" (see TSMeasurementList::load). A document that is no
/// map: false, nothing changed. Otherwise both parts are loaded, replacing what the arguments held; false
/// when either fails or is missing. A bound that is not of type double counts as unset, the integer 3 too:
/// for a document from JSON call loadTemplateFromJson, or templateDocumentFromJson first.
KVMATH_EXPORT bool loadTemplate(const QVariant& doc, TSTemplate& templ, TSMeasurementList& measurements,
                                QString& fileVersion, QString& userVersion, QString& name);

/// Reads the bytes of a template file, JSON in UTF-8, into a document for loadTemplate; keys that it does not
/// know are there for the host. Every number becomes a double, so that the bounds 3 and 3.0 mean the same,
/// which they do not in what QJsonDocument::toVariant gives. False, `doc` untouched: no JSON object (more
/// than 1024 levels are none), or a constraint of "template" with a "lowerBound" or "upperBound" that is
/// neither a number nor the text "undefined". Does not throw.
KVMATH_EXPORT bool templateDocumentFromJson(const QByteArray& json, QVariant& doc);

/// templateDocumentFromJson, then loadTemplate. False when either is; where it is the first, nothing changes.
KVMATH_EXPORT bool loadTemplateFromJson(const QByteArray& json, TSTemplate& templ,
                                        TSMeasurementList& measurements, QString& fileVersion,
                                        QString& userVersion, QString& name);

/// Writes the map that loadTemplate reads. False, and `doc` untouched, when a part cannot be saved.
KVMATH_EXPORT bool saveTemplate(QVariant& doc, const TSTemplate& templ, const TSMeasurementList& measurements,
                                const QString& fileVersion, const QString& userVersion, const QString& name);

}  // namespace KvMath
