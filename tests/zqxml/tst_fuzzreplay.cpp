// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "accounts.h"

#include <fuzz/drivers.h>

#include <QDir>
#include <QFile>
#include <QtTest>

/** Replays the inputs that the fuzzers start from, and those that once found a fault. */
class tst_FuzzReplay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replay_data();
    void replay();
};

void tst_FuzzReplay::replay_data()
{
    QTest::addColumn<int>("driver");
    QTest::addColumn<QString>("path");
    for (int i = 0; i < int(std::size(drivers::ALL)); ++i) {
        const QString folder = QStringLiteral("../data/fuzz/") + QLatin1String(drivers::ALL[i].name);
        const QDir inputs(QFINDTESTDATA(folder));
        const QStringList files = inputs.entryList(QDir::Files);
        QVERIFY2(!files.isEmpty(), qPrintable(folder));
        for (const QString &file : files)
            QTest::newRow(qPrintable(inputs.dirName() + QLatin1Char('/') + file)) << i << inputs.filePath(file);
    }
}

void tst_FuzzReplay::replay()
{
    QFETCH(int, driver);
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(drivers::ALL[driver].run(file.readAll()), QString());
}

ZQXML_TEST_MAIN(tst_FuzzReplay)
#include "tst_fuzzreplay.moc"
