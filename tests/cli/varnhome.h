#pragma once

// Runs the real `varn` binary as a script would (bytes in, bytes out, exit
// status) in a private home: the child gets exactly this environment, so it
// reads the profiles written here and nothing of the user's.
#include "machines/machine.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

struct VarnRun {
    int status = -1;
    QByteArray out, err;
};

class VarnHome {
public:
    VarnHome()
    {
        QDir(m_dir.path()).mkpath(".local/share/VarnEdit");
        QDir(m_dir.path()).mkpath("runtime");
        QFile::setPermissions(path("runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return file.fileName();
    }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void store(const QList<Machine> &machines) const
    {
        write(".local/share/VarnEdit/machines.json", Machine::encodeList(machines));
    }
    void start(QProcess &process, const QStringList &arguments, const QByteArray &input = {}) const
    {
        QProcessEnvironment env;
        env.insert("HOME", m_dir.path());
        env.insert("XDG_CONFIG_HOME", path(".config"));
        env.insert("XDG_DATA_HOME", path(".local/share"));
        env.insert("XDG_RUNTIME_DIR", path("runtime"));
        env.insert("LC_ALL", "C.UTF-8"); // the system's error texts in English
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(VARN_BINARY_DIR "/src/cli/varn"), arguments);
        ASSERT_TRUE(process.waitForStarted(10000));
        process.write(input);
        process.closeWriteChannel();
    }
    VarnRun run(const QStringList &arguments, const QByteArray &input = {}) const
    {
        QProcess process;
        start(process, arguments, input);
        EXPECT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
    }

private:
    QTemporaryDir m_dir;
};
