// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "toolsupport.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>

namespace {

const char *toolName = "";

} // namespace

void prepareTool(const char *name)
{
    toolName = name;
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        ::setenv("LC_ALL", "C.UTF-8", 1);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::optional<int> parseCommandLine(QCommandLineParser &parser)
{
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    // process() would end with the status of any other failure.
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(parser.errorText(), WrongUsage);
    if (parser.isSet(version))
        return printOut((QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion()
                         + QLatin1Char('\n'))
                            .toUtf8());
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all")))
        return printOut(parser.helpText().toUtf8());
    return std::nullopt;
}

int fail(const QString &reason, ExitStatus status)
{
    std::fprintf(stderr, "%s: %s\n", toolName, reason.simplified().toUtf8().constData());
    return status;
}

int printOut(const QByteArray &text)
{
    const std::size_t size = static_cast<std::size_t>(text.size());
    if (std::fwrite(text.constData(), 1, size, stdout) != size || std::fflush(stdout) != 0)
        return fail(QStringLiteral("cannot write: ") + QString::fromUtf8(std::strerror(errno)));
    return Success;
}
