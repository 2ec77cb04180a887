// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Makes, checks and copies databases for the stand-in's command server.

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
    QString from; ///< the store to read, to be checked or copied
    QString to; ///< the store to make
    bool sample = false;
    bool force = false;
    ZQSTORESIZE size;
};

/** Reads how much to generate; returns what is wrong with it, or nothing. */
QString readSize(const QCommandLineParser &parser, Order &order, bool &sized)
{
    unsigned int seed = 1;
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
    return QString();
}

/** Fills the order from the parsed command line; returns what is wrong with it, or nothing. */
QString readArguments(const QCommandLineParser &parser, Order &order)
{
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);
    const bool creates = action == QLatin1String("create");
    const bool copies = action == QLatin1String("copy");
    if (!creates && !copies && action != QLatin1String("check"))
        return QStringLiteral("one of create, check, copy is needed");
    const int places = copies ? 2 : 1;
    if (words.size() <= places || words.contains(QString()))
        return QStringLiteral("%1 needs %2")
            .arg(action, copies ? QStringLiteral("two stores") : QStringLiteral("a store"));
    if (words.size() > places + 1)
        return QStringLiteral("'%1' is one word too many").arg(ZQPublicName(words.at(places + 1)));
    (creates ? order.to : order.from) = words.at(1);
    if (copies)
        order.to = words.at(2);
    order.force = parser.isSet(QStringLiteral("force"));
    order.sample = parser.isSet(QStringLiteral("sample"));
    bool sized = false;
    QString wrong = readSize(parser, order, sized);
    if (!wrong.isEmpty())
        return wrong;
    if (creates && order.sample == sized)
        return QStringLiteral("either --sample or numbers of records are needed");
    if (!creates && (order.sample || sized))
        return QStringLiteral("--sample and numbers of records are for create");
    if (order.force && order.to.isEmpty())
        return QStringLiteral("--force is for create and copy");
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
        for (auto &[number, before] : handlers) {
            before = std::signal(number, removeAndExit);
            if (before == SIG_IGN) // the work is to go on, as with nohup
                std::signal(number, SIG_IGN);
        }
    }

    ~Draft()
    {
        for (const auto &[number, before] : handlers)
            std::signal(number, before);
        QFile::remove(file);
    }
    Q_DISABLE_COPY(Draft)

    const QString file;

private:
    struct Handler {
        int number;
        void (*before)(int);
    };

    static void removeAndExit(int number)
    {
        ::unlink(pathOfDraft.constData());
        ::_exit(128 + number);
    }

    static QByteArray pathOfDraft;

    Handler handlers[3] = {{SIGINT, SIG_DFL}, {SIGTERM, SIG_DFL}, {SIGHUP, SIG_DFL}};
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
QString findObstacle(const QString &file, bool force)
{
    const QFileInfo there(file);
    if (there.isSymLink() && !there.exists())
        return QStringLiteral("a symbolic link to a file that does not exist");
    if (there.exists() && !force)
        return QStringLiteral("exists; --force would overwrite it");
    if (there.exists() && !there.isFile() && !there.isDir()) // a device must not be replaced by a file
        return QStringLiteral("not a regular file");
    return QString();
}

/** Fills the store \a to, which may be a draft of the one ordered; returns why that failed, or nothing. */
QString fill(const Order &order, const QString &to)
{
    Progress progress;
    const auto showProgress = [&progress](unsigned long long done, unsigned long long total) {
        if (progress.isDue())
            progress.show(QStringLiteral("%1 of %2 records, %3 %").arg(done).arg(total).arg(done * 100 / total));
    };
    const ZQEXISTING existing = order.force ? ZQ_REPLACE : ZQ_KEEP;
    QString error;
    const bool ok = !order.from.isEmpty() ? ZQCopyStore(order.from, to, showProgress, &error, existing)
        : order.sample                    ? ZQCreateSampleStore(to, &error, existing)
                                          : ZQCreateStore(to, order.size, showProgress, &error, existing);
    return ok ? QString() : error;
}

QString fillFile(const Order &order, const QString &file)
{
    QString error = findObstacle(file, order.force);
    if (!error.isEmpty())
        return error;
    // A symbolic link stays one: the file that it names is overwritten.
    const QFileInfo there(file);
    const QString target = there.isSymLink() ? there.canonicalFilePath() : file;
    const Draft draft(target);
    error = fill(order, draft.file);
    return error.isEmpty() ? rename(draft.file, target, order.force) : error;
}

int make(const Order &order)
{
    const QString file = ZQFileOfStore(order.to);
    const QString error = file.isEmpty() ? fill(order, order.to) : fillFile(order, file);
    return error.isEmpty() ? Success : fail(ZQPublicName(order.to) + QStringLiteral(": ") + error);
}

int check(const Order &order)
{
    const QString name = ZQPublicName(order.from) + QStringLiteral(": ");
    ZQFINDINGS findings;
    QString error;
    if (!ZQCheckStore(order.from, findings, &error))
        return fail(name + error);
    for (const QString &fault : findings.faults)
        tell(name + fault);
    const ZQSTORESIZE &counted = findings.counted;
    const int status = printOut(QStringLiteral("%1 outputs, %2 publications, %3 jobs, %4 books\n")
                                    .arg(counted.outputs)
                                    .arg(counted.publications)
                                    .arg(counted.jobs)
                                    .arg(counted.books)
                                    .toUtf8());
    return findings.faults.isEmpty() ? status : Failure;
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-store");
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Makes, checks and copies stores that zqxml-query can ask.\n\n"
        "A store is an SQLite file or a PostgreSQL database, qpsql://user@host/name. One is made with the sample data or\n"
        "with generated records; equal numbers and seeds give equal records. It appears when it is finished, or not at\n"
        "all."));
    parser.addPositionalArgument(QStringLiteral("action"), QStringLiteral("create, check, or copy to a second store."),
                                 QStringLiteral("create|check|copy"));
    parser.addPositionalArgument(QStringLiteral("store"), QStringLiteral("A file or a URL."),
                                 QStringLiteral("STORE [STORE]"));
    const QString number = QStringLiteral("N");
    parser.addOptions({{QStringLiteral("sample"), QStringLiteral("Fill it with the sample data.")},
                       {QStringLiteral("outputs"), QStringLiteral("How many outputs to generate."), number},
                       {QStringLiteral("publications"), QStringLiteral("How many publications to generate."), number},
                       {QStringLiteral("jobs"), QStringLiteral("How many jobs to generate."), number},
                       {QStringLiteral("books"), QStringLiteral("How many books to generate."), number},
                       {QStringLiteral("seed"), QStringLiteral("Where the generator starts, 1 by default."), number},
                       {QStringLiteral("force"), QStringLiteral("Overwrite the store to make.")}});
    if (const auto status = parseCommandLine(parser))
        return *status;
    hidePasswords(argv);
    Order order;
    const QString wrong = readArguments(parser, order);
    if (!wrong.isEmpty())
        return fail(wrong, WrongUsage);
    return order.to.isEmpty() ? check(order) : make(order);
}
