#pragma once
// File names in the encoding of the host.

#include <QtCore/QtGlobal>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QtCore/QTextCodec>
#endif

namespace KvMeasure {

/// File names are UTF-8 whatever the locale says. Qt 6 takes them so by itself.
inline void useUtf8ForFileNames() {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#endif
}

}  // namespace KvMeasure
