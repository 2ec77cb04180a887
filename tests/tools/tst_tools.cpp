// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/**
 * Runs the commands of the scenarios in the kept transcript and compares what they print. A scenario begins with "#",
 * has an empty folder, and consists of commands for the shell after "$", each followed by its standard output, its
 * standard error after "!", and its status after "=" unless that is 0. What was found instead is left in the file
 * ZQXML_ACTUAL, to be reviewed and copied when it is meant.
 */
class tst_Tools : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void scenario_data();
    void scenario();

private:
    static QByteArray run(const QString &command, const QString &folder);

    QFile found{QStringLiteral(ZQXML_ACTUAL)};
};

void tst_Tools::initTestCase()
{
    QVERIFY(found.open(QIODevice::WriteOnly));
    qputenv("PATH", ZQXML_TOOLS ":" + qgetenv("PATH"));
    qputenv("DATA", QFile::encodeName(QFINDTESTDATA("../data")));
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("QT_HASH_SEED", "0"); // fixes the order of attributes
}

void tst_Tools::scenario_data()
{
    QTest::addColumn<QString>("text");
    QFile file(QFINDTESTDATA("../data/tools/transcript.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList scenarios = (QLatin1Char('\n') + QString::fromUtf8(file.readAll())).split(QStringLiteral("\n# "));
    for (const QString &text : scenarios.mid(1))
        QTest::newRow(qPrintable(text.section(QLatin1Char('\n'), 0, 0))) << text;
}

QByteArray tst_Tools::run(const QString &command, const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral("bash"), {QStringLiteral("-c"), command});
    process.waitForFinished(-1);
    QByteArray text = process.readAllStandardOutput();
    const QByteArray errors = process.readAllStandardError().trimmed();
    if (!errors.isEmpty())
        text += "! " + QByteArray(errors).replace('\n', "\n! ") + '\n';
    if (process.exitCode() != 0)
        text += "= " + QByteArray::number(process.exitCode()) + '\n';
    return text;
}

void tst_Tools::scenario()
{
    QFETCH(QString, text);
    const QTemporaryDir folder;
    const QStringList expected = text.trimmed().split(QLatin1Char('\n'));
    QByteArray actual = expected.first().toUtf8() + '\n';
    for (const QString &line : expected) {
        if (line.startsWith(QLatin1String("$ ")))
            actual += line.toUtf8() + '\n' + run(line.mid(2), folder.path());
    }
    found.write("# " + actual);
    found.flush();
    const QStringList lines = QString::fromUtf8(actual).trimmed().split(QLatin1Char('\n'));
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(lines.value(i), expected.at(i));
    QCOMPARE(lines.size(), expected.size());
}

QTEST_GUILESS_MAIN(tst_Tools)

#include "tst_tools.moc"
