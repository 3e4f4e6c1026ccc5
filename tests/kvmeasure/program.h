#pragma once
// Runs the program in a scratch directory: arguments in; standard output, standard error, files and exit
// code out.

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>

struct Outcome {
    int code = -1;
    std::string out, err;
    QJsonObject json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(out)).object(); }
};

class Program : public testing::Test {
protected:
    QString path(const QString& name) const { return dir_.filePath(name); }

    Outcome run(const QStringList& arguments) const {
        QProcess process;
        process.setWorkingDirectory(dir_.path());
        process.start(KVMEASURE_PROGRAM, arguments);
        Outcome result;
        if (!process.waitForFinished(20'000)) {
            process.kill();
            process.waitForFinished();
            ADD_FAILURE() << "does not end: " << arguments.join(' ').toStdString();
            return result;
        }
        if (process.exitStatus() == QProcess::NormalExit)
            result.code = process.exitCode();
        result.out = process.readAllStandardOutput().toStdString();
        result.err = process.readAllStandardError().toStdString();
        return result;
    }

    void write(const QString& name, const QByteArray& content) const {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    QByteArray read(const QString& name) const {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void expectRefused(const QStringList& arguments, const std::string& reason) const {
        const Outcome result = run(arguments);
        EXPECT_EQ(result.code, 2) << arguments.join(' ').toStdString();
        EXPECT_THAT(result.err, testing::HasSubstr(reason)) << arguments.join(' ').toStdString();
    }

    void simulate(const QString& name, const QStringList& more) const {
        const Outcome result = run(QStringList{"simulate", "profile", "--out", name} + more);
        ASSERT_EQ(result.code, 0) << result.err;
    }

private:
    QTemporaryDir dir_;
};
