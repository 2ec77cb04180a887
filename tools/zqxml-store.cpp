// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Makes databases for the stand-in's command server.

#include "progress.h"
#include "toolsupport.h"

#include <standin/zqstandin.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <limits>
#include <unistd.h>

namespace {

struct Order {
    QString file;
    bool sample = false;
    bool force = false;
    ZQSTORESIZE size;
};

/** Fills the order from the parsed command line; returns what is wrong with it, or nothing. */
QString readArguments(const QCommandLineParser &parser, Order &order)
{
    const QStringList words = parser.positionalArguments();
    if (words.size() < 2 || words.at(0) != QLatin1String("create") || words.at(1).isEmpty())
        return QStringLiteral("'create' and a file are needed");
    if (words.size() > 2)
        return QStringLiteral("'%1' is one word too many after the file").arg(words.at(2));
    order.file = words.at(1);
    order.force = parser.isSet(QStringLiteral("force"));
    order.sample = parser.isSet(QStringLiteral("sample"));

    unsigned int seed = 1;
    bool sized = false;
    const struct {
        QString option;
        unsigned int &number;
    } numbers[] = {{QStringLiteral("outputs"), order.size.outputs},
                   {QStringLiteral("publications"), order.size.publications},
                   {QStringLiteral("jobs"), order.size.jobs},
                   {QStringLiteral("books"), order.size.books},
                   {QStringLiteral("seed"), seed}};
    for (const auto &each : numbers) {
        QString wrong = readNumber(parser, each.option, 0, std::numeric_limits<unsigned int>::max(), each.number);
        if (!wrong.isEmpty())
            return wrong;
        sized = sized || parser.isSet(each.option);
    }
    order.size.seed = seed;
    if (order.sample == sized)
        return QStringLiteral("either --sample or numbers of records are needed");
    if (order.size.jobs > 0 && order.size.outputs == 0)
        return QStringLiteral("--jobs needs --outputs");
    if (order.size.books > 0 && order.size.publications == 0)
        return QStringLiteral("--books needs --publications");
    return QString();
}

/** A file beside the one wanted, which takes its place once it is finished and is removed if it never is. */
class Draft
{
public:
    explicit Draft(const QString &wanted)
        : file(wanted + QStringLiteral(".part-%1").arg(QCoreApplication::applicationPid()))
    {
        pathOfDraft = QFile::encodeName(file);
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            std::signal(number, removeAndExit);
    }

    ~Draft()
    {
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            std::signal(number, SIG_DFL);
        QFile::remove(file);
    }
    Q_DISABLE_COPY(Draft)

    const QString file;

private:
    static void removeAndExit(int number)
    {
        ::unlink(pathOfDraft.constData());
        ::_exit(128 + number);
    }

    static QByteArray pathOfDraft;
};

QByteArray Draft::pathOfDraft;

/** Gives \a from the name \a to; returns why that failed, or nothing. */
QString rename(const QString &from, const QString &to, bool overwrite)
{
    if (!overwrite) {
        QFile file(from); // refuses a target that has appeared meanwhile
        return file.rename(to) ? QString() : file.errorString();
    }
    const int result = std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData());
    return result == 0 ? QString() : QString::fromUtf8(std::strerror(errno));
}

/** Returns why the file must not be made or overwritten, or nothing. */
QString findObstacle(const Order &order)
{
    const QFileInfo there(order.file);
    if (there.isSymLink() && !there.exists())
        return QStringLiteral("a symbolic link to a file that does not exist");
    if (there.exists() && !order.force)
        return QStringLiteral("exists; --force would overwrite it");
    if (there.exists() && !there.isFile() && !there.isDir()) // a device must not be replaced by a file
        return QStringLiteral("not a regular file");
    return QString();
}

bool fillDraft(const QString &file, const Order &order, QString *error)
{
    if (order.sample)
        return ZQCreateSampleStore(file, error);
    Progress progress;
    const auto showProgress = [&progress](unsigned long long done, unsigned long long total) {
        if (progress.isDue())
            progress.show(QStringLiteral("%1 of %2 records, %3 %").arg(done).arg(total).arg(done * 100 / total));
    };
    return ZQCreateStore(file, order.size, showProgress, error);
}

int create(const Order &order)
{
    QString error = findObstacle(order);
    if (error.isEmpty()) {
        // A symbolic link stays one: the file that it names is overwritten.
        const QFileInfo there(order.file);
        const QString target = there.isSymLink() ? there.canonicalFilePath() : order.file;
        const Draft draft(target);
        if (fillDraft(draft.file, order, &error))
            error = rename(draft.file, target, order.force);
    }
    return error.isEmpty() ? Success : fail(order.file + QStringLiteral(": ") + error);
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-store");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zqxml-store"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZQXML_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Makes a database that zqxml-query can ask, with the sample data or with generated records.\n\n"
        "Equal numbers and seeds give equal records. The file appears when it is finished, or not at all."));
    parser.addPositionalArgument(QStringLiteral("create"), QStringLiteral("Makes a database."),
                                 QStringLiteral("create"));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The SQLite file to make."),
                                 QStringLiteral("FILE"));
    const QString number = QStringLiteral("N");
    parser.addOptions({{QStringLiteral("sample"), QStringLiteral("Fill it with the sample data.")},
                       {QStringLiteral("outputs"), QStringLiteral("How many outputs to generate."), number},
                       {QStringLiteral("publications"), QStringLiteral("How many publications to generate."), number},
                       {QStringLiteral("jobs"), QStringLiteral("How many jobs to generate."), number},
                       {QStringLiteral("books"), QStringLiteral("How many books to generate."), number},
                       {QStringLiteral("seed"), QStringLiteral("Where the generator starts, 1 by default."), number},
                       {QStringLiteral("force"), QStringLiteral("Overwrite the file.")}});
    if (const auto status = parseCommandLine(parser))
        return *status;
    Order order;
    const QString wrong = readArguments(parser, order);
    return wrong.isEmpty() ? create(order) : fail(wrong, WrongUsage);
}
