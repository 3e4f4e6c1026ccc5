#include <kvmath/wheel/wheel_files.h>

#include <QtCore/QRegularExpression>

namespace KvMath {

QString wheelFileName(int wheel, int profile) { return QString::asprintf("%02d_%02d.bin", wheel, profile); }

bool isWheelFileName(const QString& name) {
    static const QRegularExpression form(QStringLiteral("^[0-9]{2,}_[0-9]{2,}\\.bin\\z"));
    return form.match(name).hasMatch();
}

}  // namespace KvMath
