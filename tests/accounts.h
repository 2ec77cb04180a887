// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_ACCOUNTS_H
#define TESTS_ACCOUNTS_H

#include <QtTest>

/**
 * Runs all functions of \a test as QTest::qExec() does, and fails when something that it made is alive at the end: a
 * record, a converter, or any block of memory.
 *
 * Blocks that a first run leaves may be caches of the toolkit or of the C library, so a program that passed is run
 * again, without a word, until no block is left over. What leaks leaves some each time.
 *
 * Memory is filled when it is allocated and when it is freed, and small blocks are kept for a while before they are
 * used again. So reading what is gone, or what was never written, gives nonsense or a crash, and writing to what is
 * gone, or freeing it twice, ends the program. Sanitizers and valgrind do that better and keep their own accounts.
 */
int runWithAccounts(QObject &test, int argc, char **argv);

/** What QTEST_GUILESS_MAIN() does, with accounts. */
#define ZQXML_TEST_MAIN(Test) ZQXML_MAIN(Test, QCoreApplication)

/** What QTEST_MAIN() does for a test of widgets, with accounts. */
#define ZQXML_WIDGET_TEST_MAIN(Test) ZQXML_MAIN(Test, QApplication)

#define ZQXML_MAIN(Test, Application)                                                                                  \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        Application application(argc, argv);                                                                           \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        Test test;                                                                                                     \
        return runWithAccounts(test, argc, argv);                                                                      \
    }

#endif
