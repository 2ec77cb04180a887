// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "toolsupport.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <limits.h>
#include <unistd.h>

namespace {

const char *toolName = "";
bool outputWasClosed = false;

// Shared with signal handlers.
volatile std::sig_atomic_t writing = 0;
volatile std::sig_atomic_t interrupted = 0;
const char *timeOutLine = "";

constexpr int interruptStatus = 128 + SIGINT;

void reserveStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1 && ::open("/dev/null", O_RDWR) == STDOUT_FILENO)
            outputWasClosed = true;
    }
}

[[noreturn]] void endByInterrupt()
{
    if (::isatty(STDERR_FILENO) != 0) {
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, "\n", 1); // behind the progress
    }
    ::_exit(interruptStatus);
}

void takeInterrupt(int)
{
    if (!writing || interrupted)
        endByInterrupt();
    interrupted = 1;
}

/** Returns what removes the progress that may be shown. */
const char *lineStart()
{
    return ::isatty(STDERR_FILENO) != 0 ? "\r\033[K" : "";
}

void takeTimeOut(int)
{
    for (const char *part : {lineStart(), toolName, ": ", timeOutLine, "\n"}) {
        if (::write(STDERR_FILENO, part, std::strlen(part)) < 0)
            break;
    }
    ::_exit(NoAnswer);
}

/** Returns how many bytes of \a rest to write at once: whole lines that a pipe takes as one, or one longer line. */
std::size_t nextChunk(const char *rest, std::size_t size)
{
    if (size <= PIPE_BUF)
        return size;
    const void *const last = ::memrchr(rest, '\n', PIPE_BUF);
    const void *const end = last ? last : std::memchr(rest, '\n', size);
    return end ? static_cast<std::size_t>(static_cast<const char *>(end) - rest) + 1 : size;
}

/** Writes all of \a chunk; 0 or the number of the error. */
int writeChunk(const char *chunk, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t written = ::write(STDOUT_FILENO, chunk + done, size - done);
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            done += static_cast<std::size_t>(written);
        if (done == 0 && interrupted)
            endByInterrupt();
    }
    return 0;
}

int writeAll(const QByteArray &lines)
{
    const char *rest = lines.constData();
    auto size = static_cast<std::size_t>(lines.size());
    while (size > 0) {
        const std::size_t chunk = nextChunk(rest, size);
        if (const int error = writeChunk(rest, chunk))
            return error;
        if (interrupted)
            endByInterrupt();
        rest += chunk;
        size -= chunk;
    }
    return 0;
}

void catchSignal(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler; // without SA_RESTART: a write that blocks is to end
    ::sigaction(number, &action, nullptr);
}

} // namespace

void prepareTool(const char *name)
{
    toolName = name;
    QCoreApplication::setApplicationName(QString::fromLatin1(name));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZQXML_TOOL_VERSION));
    reserveStandardStreams();
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

void hidePasswords(char **arguments)
{
    for (char **argument = arguments; *argument; ++argument) {
        if (char *const end = std::strstr(*argument, "://"))
            std::fill(end + 3, end + std::strlen(end), '*');
    }
}

QString readNumber(const QCommandLineParser &parser, const QString &option, unsigned int smallest, unsigned int largest,
                   unsigned int &number)
{
    if (!parser.isSet(option))
        return QString();
    bool ok = false;
    number = parser.value(option).toUInt(&ok);
    if (ok && number >= smallest && number <= largest)
        return QString();
    return QStringLiteral("--%1 needs a number from %2 to %3, not '%4'")
        .arg(option, QString::number(smallest), QString::number(largest), parser.value(option));
}

void tell(const QString &line)
{
    std::fprintf(stderr, "%s%s: %s\n", lineStart(), toolName, line.simplified().toUtf8().constData());
}

int fail(const QString &reason, ExitStatus status)
{
    tell(reason);
    return status;
}

std::optional<int> writeOut(const QByteArray &lines)
{
    if (outputWasClosed)
        return fail(QStringLiteral("cannot write: standard output is closed"));
    writing = 1;
    const int error = writeAll(lines);
    writing = 0;
    if (error == EPIPE) // the reader has seen enough
        return Success;
    if (error != 0)
        return fail(QStringLiteral("cannot write: ") + QString::fromUtf8(std::strerror(error)));
    return std::nullopt;
}

int printOut(const QByteArray &text)
{
    return writeOut(text).value_or(Success);
}

void endWhenInterrupted()
{
    catchSignal(SIGINT, takeInterrupt);
}

void endAfter(int seconds, const char *line)
{
    timeOutLine = line;
    catchSignal(SIGALRM, takeTimeOut);
    ::alarm(static_cast<unsigned int>(seconds));
}
