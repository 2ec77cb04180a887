// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <fuzz/drivers.h>

#include <QDir>
#include <QtTest>

/** Runs the fuzzers' drivers on the inputs that they start from, on those that once found a fault, and on random ones.
 */
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
    for (int i = 0; i < int(std::size(drivers::ALL)); ++i)
        QTest::newRow(drivers::ALL[i].name) << i;
}

void tst_FuzzReplay::replay()
{
    QFETCH(int, driver);
    const QString name = QLatin1String(drivers::ALL[driver].name);
    const QDir inputs(QFINDTESTDATA(QStringLiteral("../data/fuzz/") + name));
    QVERIFY(!inputs.isEmpty());
    for (const QString &path : inputs.entryList(QDir::Files)) {
        QFile file(inputs.filePath(path));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString difference = drivers::ALL[driver].run(file.readAll());
        QVERIFY2(difference.isEmpty(), qPrintable(path + QLatin1Char(' ') + difference));
    }
    for (quint32 seed = 0; seed < 700; ++seed) {
        const QString difference = drivers::ALL[driver].run(drivers::ALL[driver].example(seed));
        QVERIFY2(difference.isEmpty(), qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(difference)));
    }
}

ZQXML_TEST_MAIN(tst_FuzzReplay)
#include "tst_fuzzreplay.moc"
