// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_BUSSERVER_H
#define BENCH_BUSSERVER_H

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <unistd.h>

/** Returns the resident memory of a process, kilobytes. */
inline long residentMemory(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/statm").arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLong() * (sysconf(_SC_PAGESIZE) / 1024);
}

/** A NATS server on the loopback interface and a free port, which it keeps when it is started again. */
class BusServer
{
public:
    ~BusServer()
    {
        kill();
    }

    /** Returns whether it has started. */
    bool start()
    {
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(QStringLiteral("nats-server"),
                      {QStringLiteral("-a"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                       port.isEmpty() ? QStringLiteral("-1") : port, QStringLiteral("--ports_file_dir"),
                       folder.path()});
        if (!process.waitForStarted())
            return false;
        QFile file(folder.filePath(QStringLiteral("nats-server_%1.ports").arg(process.processId())));
        for (int tries = 0; port.isEmpty() && tries < 500; ++tries) {
            QThread::msleep(10);
            if (file.open(QIODevice::ReadOnly)) {
                const QString ports = QString::fromUtf8(file.readAll());
                port = QRegularExpression(QStringLiteral("nats://127.0.0.1:(\\d+)")).match(ports).captured(1);
                file.close();
            }
        }
        return !port.isEmpty();
    }

    void kill()
    {
        process.kill();
        process.waitForFinished();
    }

    QString url() const
    {
        return QStringLiteral("nats://127.0.0.1:") + port;
    }

    qint64 processId() const
    {
        return process.processId();
    }

private:
    QTemporaryDir folder;
    QProcess process;
    QString port;
};

#endif
