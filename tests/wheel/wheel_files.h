#pragma once
// Recordings and wheel files of small profiles in a scratch directory that is the current one.

#include <kvmath/profile/profile_z.h>

#include <tests/support/scratch_directory.h>

#include <QtCore/QDir>
#include <QtCore/QSettings>

#include <gtest/gtest.h>

namespace TestSupport {

/// A profile of n points at the given height, 1 mm apart.
inline KvMath::KvProfile level(int n, float height) {
    KvMath::KvProfile profile;
    for (int i = 0; i < n; ++i)
        profile.points.append({static_cast<float>(i), height});
    return profile;
}

class WheelPass : public ::testing::Test {
protected:
    WheelPass() { set("SENSOR1/SN", 100); }

    void set(const char* key, const QVariant& value) { settings.setValue(key, value); }

    /// Wheel profiles as 'w' (12 points below the line), others as '.' (12 points above); '0' is empty. Every
    /// second record is one with Z.
    static void record(const char* name, const char* kinds) {
        QFile file(name);
        file.open(QIODevice::WriteOnly);
        for (int i = 0; kinds[i] != '\0'; ++i) {
            const KvMath::KvProfile profile =
                level(kinds[i] == '0' ? 0 : 12, kinds[i] == 'w' ? 50.0F : 250.0F);
            KvMath::KvProfileZ withZ(static_cast<float>(i));
            withZ = profile;
            ASSERT_TRUE(i % 2 == 0 ? profile.writeToFile(file) : withZ.writeToFile(file));
        }
    }

    static void write(const char* path, const KvMath::KvProfile& profile) {
        QDir().mkpath(QFileInfo(path).path());
        ASSERT_TRUE(profile.writeToFile(path));
    }

    static QStringList filesIn(const char* directory) {
        return QDir(directory).entryList(QDir::Files, QDir::Name);
    }

    ScratchDirectory scratch;
    QSettings settings{"settings.ini", QSettings::IniFormat};
};

}  // namespace TestSupport
