// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// The print shop's desk: shows a store, and what can be done with it, the way every agent of an application does.

#include "deskwindow.h"

#include <standin/zqstandin.h>
#ifdef ZQXML_WITH_BUS
#include <tools/bus.h>
#endif
#include <tools/toolsupport.h>

#include <QApplication>
#include <QCommandLineParser>

#include <optional>

namespace {

/** What the command line asks for. */
struct Wanted {
    QString database;
#ifdef ZQXML_WITH_BUS
    XMLNatsTransport::Options bus; ///< without an address the database is shown
#endif
};

/** Reads the command line, for which no screen is needed. Returns the exit status when that is all there is to do. */
std::optional<int> readArguments(int argc, char *argv[], Wanted &wanted)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows outputs, jobs, publications and books in a window."));
    parser.addOption({QStringLiteral("database"),
                      QStringLiteral("Show this SQLite file, or the database at a driver's URL; a sample without it."),
                      QStringLiteral("FILE")});
#ifdef ZQXML_WITH_BUS
    addBusArguments(parser);
#endif
    if (const auto status = parseCommandLine(parser))
        return status;
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("'%1' is no option").arg(parser.positionalArguments().constFirst()), WrongUsage);
    wanted.database = parser.value(QStringLiteral("database"));
    if (wanted.database.isEmpty() && parser.isSet(QStringLiteral("database")))
        return fail(QStringLiteral("--database needs a file"), WrongUsage);
#ifdef ZQXML_WITH_BUS
    const QString wrong = readOptionalBus(parser, wanted.bus);
    if (!wrong.isEmpty())
        return fail(wrong, WrongUsage);
#endif
    return std::nullopt;
}

std::unique_ptr<DeskStore> openStore(const Wanted &wanted, QString *error)
{
#ifdef ZQXML_WITH_BUS
    if (!wanted.bus.urls.isEmpty())
        return std::make_unique<DeskStore>(std::make_unique<XMLNatsTransport>(wanted.bus));
#endif
    return DeskStore::open(wanted.database, error);
}

QString nameOf(const Wanted &wanted)
{
#ifdef ZQXML_WITH_BUS
    if (!wanted.bus.urls.isEmpty())
        return wanted.bus.bus;
#endif
    return wanted.database.isEmpty() ? DeskWindow::tr("sample") : ZQPublicName(wanted.database);
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-desk");
    Wanted wanted;
    if (const auto status = readArguments(argc, argv, wanted))
        return *status;
    hidePasswords(argv);

    const QApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("zqxml-desk"));
    translateDesk();
    QString error;
    const std::unique_ptr<DeskStore> store = openStore(wanted, &error);
    if (!store)
        return fail(error);
    DeskWindow window(*store, nameOf(wanted));
    window.show();
    return QApplication::exec();
}
