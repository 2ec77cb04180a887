// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_BLOCKS_H
#define TESTS_BLOCKS_H

#include <QFile>
#include <QtTest>

/**
 * Makes a row of each block of the file \a path, with the columns "input" and "expected". Bytes that do not show are
 * written as %0d.
 * \code
 * == the name of the row
 * the input's lines
 * --
 * the expected lines
 * \endcode
 */
inline void addBlocks(const QString &path)
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("expected");
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
    const QString text = QString::fromUtf8(file.readAll());
    for (const QString &block : text.split(QStringLiteral("== "), Qt::SkipEmptyParts)) {
        const QString name = block.section(QLatin1Char('\n'), 0, 0);
        const QStringList parts = block.mid(name.size() + 1).split(QStringLiteral("--\n"));
        QCOMPARE(int(parts.size()), 2);
        QTest::newRow(qPrintable(name)) << QByteArray::fromPercentEncoding(parts.at(0).toUtf8())
                                        << QByteArray::fromPercentEncoding(parts.at(1).toUtf8());
    }
}

#endif
