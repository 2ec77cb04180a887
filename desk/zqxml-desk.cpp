// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// The print shop's desk: shows a store, and what can be done with it, the way every agent of an application does.

#include "deskwindow.h"

#include <standin/zqstandin.h>
#include <tools/toolsupport.h>

#include <QApplication>
#include <QCommandLineParser>

#include <optional>

namespace {

/** Reads the command line, for which no screen is needed. Returns the exit status when that is all there is to do. */
std::optional<int> readArguments(int argc, char *argv[], QString &database)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows outputs, jobs, publications and books in a window."));
    parser.addOption({QStringLiteral("database"),
                      QStringLiteral("Show this SQLite file, or the database at a driver's URL; a sample without it."),
                      QStringLiteral("FILE")});
    if (const auto status = parseCommandLine(parser))
        return status;
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("'%1' is no option").arg(parser.positionalArguments().constFirst()), WrongUsage);
    database = parser.value(QStringLiteral("database"));
    if (database.isEmpty() && parser.isSet(QStringLiteral("database")))
        return fail(QStringLiteral("--database needs a file"), WrongUsage);
    return std::nullopt;
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-desk");
    QString database;
    if (const auto status = readArguments(argc, argv, database))
        return *status;

    const QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("zqxml-desk"));
    translateDesk();
    QString error;
    ZQCONNECTION *const connection = database.isEmpty() ? ZQOpenSampleStore(&error) : ZQOpenStore(database, &error);
    if (!connection)
        return fail(database.isEmpty() ? error : ZQPublicName(database) + QStringLiteral(": ") + error);
    ZQCommServer server(connection);
    DeskWindow window(&server, database.isEmpty() ? DeskWindow::tr("sample") : ZQPublicName(database));
    ZQReport() = [&window](const QString &line) { window.showProblem(line); };
    window.show();
    const int status = QApplication::exec();
    ZQReport() = nullptr;
    return status;
}
