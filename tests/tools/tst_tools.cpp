// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

const QString query = QStringLiteral(ZQXML_QUERY);
const QString store = QStringLiteral(ZQXML_STORE);

struct Result {
    int status;
    QByteArray out;
    QByteArray err;
};

QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

class tst_Tools : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tables_data();
    void tables();
    void formats();
    void rebuild();
    void locale();
    void wrongUsage_data();
    void wrongUsage();
    void failures_data();
    void failures();
    void outputThatCannotBeWritten();
    void stores();
    void nothingHalfWritten();

private:
    Result run(const QString &tool, const QStringList &arguments, const QString &outputFile = QString());
    Result shell(const QString &tool, const char *script);

    QStringList files() const
    {
        return QDir(directory->path()).entryList(QDir::Files | QDir::Hidden);
    }

    QString path(const char *name) const
    {
        return directory->filePath(QString::fromUtf8(name));
    }

    std::unique_ptr<QTemporaryDir> directory; // one for each function, and where the tools run
    QString localeName = QStringLiteral("C.UTF-8");
};

Result tst_Tools::run(const QString &tool, const QStringList &arguments, const QString &outputFile)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), localeName);
    environment.insert(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0")); // fixes the order of attributes
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory->path());
    if (!outputFile.isEmpty())
        process.setStandardOutputFile(outputFile);
    process.start(tool, arguments);
    process.waitForFinished(-1);
    const int status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return {status, process.readAllStandardOutput(), process.readAllStandardError()};
}

/** Runs a script to which the tool is $0. */
Result tst_Tools::shell(const QString &tool, const char *script)
{
    return run(QStringLiteral("sh"), {QStringLiteral("-c"), QLatin1String(script), tool});
}

void tst_Tools::init()
{
    directory = std::make_unique<QTemporaryDir>();
}

void tst_Tools::tables_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("last");

    const auto row = [](const char *arguments, const char *line, const char *last) {
        QTest::newRow(arguments) << words(arguments) << QString::fromUtf8(line) << QString::fromUtf8(last);
    };
    row("outputs", "Etiketten 50% Flexo 8ff34739:10 7 running", "24 outputs");
    row("jobs", "Etikett Likör 38% vol 316b17d7:30 0", "23 jobs");
    row("jobs --with-publications", "Bedienungsanleitung Pumpe P4, Seite 6 6508dd3c:30 6 Bedienungsanleitung Pumpe P4",
        "208 jobs");
    row("publications", "Bildband 東京 bei Nacht 8bc99147:20 3", "24 publications");
    row("books", "Kochbuch „Süß & Würzig“, Leinenausgabe 50a3ec6e:40 20 500", "22 books");
    row("jobs --key 36fbeee7:10 --with-publications", "Aushang Öffnungszeiten (2) dd1b3790:30 0", "1 job");
    row("jobs --key e3779b10:10 --with-publications", "NAME KEY PAGE PUBLICATION", "10 jobs");
    row("jobs --key 2e2ac0ea:10", "0 jobs", "0 jobs");
}

void tst_Tools::tables()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    QFETCH(QString, last);
    const Result result = run(query, arguments);
    QCOMPARE(result.err, QByteArray());
    QCOMPARE(result.status, 0);
    QStringList lines;
    for (const QString &each : QString::fromUtf8(result.out).split(QLatin1Char('\n')))
        lines << each.simplified();
    QVERIFY2(lines.contains(line), result.out.constData());
    QCOMPARE(lines.takeLast(), QString());
    QCOMPARE(lines.last(), last);
}

void tst_Tools::formats()
{
    // A character of two places counts twice, one of two bytes once.
    const QByteArray table = run(query, words("outputs")).out;
    QVERIFY(table.contains("NAME                               KEY  JOBS  STATE\n"));
    QVERIFY(table.contains("Druckmaschine Süd 1        9e3779b1:10    19  running\n"));
    QVERIFY(table.contains("Visitenkarten 印刷         98c47536:10     3  running\n"));

    const Result traced = run(query, words("outputs --format xml --trace"));
    QVERIFY(traced.out.startsWith("<zqxml xmlns=") && traced.out.endsWith("</zqxml>\n"));
    QCOMPARE(traced.out.count("<packetable "), 24);
    QVERIFY(traced.out.contains("<1 value=\"Siebdruck Ærø\"/>"));
    const QByteArray delivered = "-- delivered, from agent -1 to agent 1 --\n";
    QVERIFY(traced.err.startsWith("-- sent, from agent 1 to agent -1 --\n<zqxml"));
    QVERIFY(traced.err.left(traced.err.indexOf(delivered)).contains("type=\"1000\""));
    QVERIFY(traced.err.contains(delivered + traced.out));

    const QByteArray first = run(query, words("books --key a851f637:20 --format text")).out;
    const QByteArray second = run(query, words("books --key 46896FE8:20 --format text")).out;
    QVERIFY(first.startsWith("SI 56\n1 ") && first.endsWith("\nTI 0\n") && first != second);
    QCOMPARE(run(query, words("books --key 46896fe8:20 --key a851f637:20 --format text")).out, second + first);
}

void tst_Tools::rebuild()
{
    // Arrays of ten or more values come back empty; what has no XML form comes back as zero.
    const auto linesOf = [](const QByteArray &text) {
        QString lines = QString::fromUtf8(text);
        lines.replace(QRegularExpression(QStringLiteral("\n([0-9a-f]+) \\d\\d [^\n]*")), QStringLiteral("\n\\1 0"));
        lines.replace(QStringLiteral(" 0 \n"), QStringLiteral(" 0\n"));
        return lines.remove(QStringLiteral("\n13 0 0\n14 0")).split(QLatin1Char('\n'));
    };
    for (const char *const question : {"outputs", "jobs", "publications", "books"}) {
        const QStringList plain = words(question);
        const QStringList rebuilt = plain + words("--rebuild");
        QCOMPARE(run(query, rebuilt).out, run(query, plain).out);
        const QStringList asText = words("--format text");
        QCOMPARE(linesOf(run(query, rebuilt + asText).out), linesOf(run(query, plain + asText).out));
    }
    QVERIFY(run(query, words("jobs --rebuild --format xml")).out.contains("<dst agent_id=\"1\"/>"));
}

void tst_Tools::locale()
{
    const QByteArray utf8 = run(query, words("outputs --format xml")).out;
    localeName = QStringLiteral("C");
    const QByteArray plain = run(query, words("outputs --format xml")).out;
    const Result failed = run(query, words("outputs --database fehlt-ü"));
    run(store, words("create Süd.db --sample"));
    localeName = QStringLiteral("C.UTF-8");
    QVERIFY(utf8.contains("Süd"));
    QCOMPARE(plain, utf8);
    QCOMPARE(failed.err, QByteArray("zqxml-query: fehlt-ü: No such file or directory\n"));
    QCOMPARE(files(), words("Süd.db"));
}

void tst_Tools::wrongUsage_data()
{
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QStringList>("arguments");
    for (const char *arguments :
         {"", "clocks", "outputs jobs", "outputs --colour", "outputs --format", "outputs --format pdf",
          "outputs --key 1:2", "outputs --with-publications", "jobs --key 1", "jobs --key 1:2:3",
          "jobs --key :", "jobs --key 1:x", "jobs --key 100000000:1", "jobs --key -1:1"})
        QTest::addRow("query %s", arguments) << query << words(arguments);
    for (const char *arguments :
         {"", "create", "make x", "create x y --sample", "create x", "create x --sample --jobs 1",
          "create x --sample --seed 1", "create x --jobs 1", "create x --books 1", "create x --outputs -1",
          "create x --outputs 4294967296", "create x --outputs ten", "create x --sample --tables"})
        QTest::addRow("store %s", arguments) << store << words(arguments);
}

void tst_Tools::wrongUsage()
{
    QFETCH(QString, tool);
    QFETCH(QStringList, arguments);
    const Result result = run(tool, arguments);
    QCOMPARE(result.status, 2);
    QCOMPARE(result.out, QByteArray());
    QVERIFY2(result.err.startsWith("zqxml-") && result.err.count('\n') == 1, result.err.constData());
    QCOMPARE(files(), QStringList());
}

void tst_Tools::failures_data()
{
    QTest::addColumn<QString>("script"); // run before, in the directory
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("line");

    const auto row = [](const char *name, const char *script, const QString &tool, const char *arguments,
                        const char *line) {
        QTest::newRow(name) << QString::fromLatin1(script) << tool << words(arguments)
                            << QByteArray(tool == query ? "zqxml-query: " : "zqxml-store: ") + line + '\n';
    };
    row("unknown key", "", query, "jobs --key 9e3779b1:10 --key ABC:0", "nothing has the key abc:0");
    row("no reply", "", query, "books --key a1a7c86:20", "no reply: the server has no books under the key");
    row("missing file", "", query, "outputs --database none", "none: No such file or directory");
    row("empty database", "\"$0\" create it --outputs 0", query, "outputs --database it",
        "no reply: the server has no outputs");
    row("unknown driver", "", query, "outputs --database qnone://host/shop",
        "qnone://host/shop: no database driver QNONE");
    row("missing directory", "", store, "create none/it --sample", "none/it: No such file or directory");
    row("directory in the way", "mkdir it", store, "create it --sample --force", "it: Is a directory");
    row("pipe in the way", "mkfifo it", store, "create it --sample --force", "it: not a regular file");
    row("pipe for a database", "mkfifo it", query, "outputs --database it", "it: not a regular file");
    row("too many", "", store, "create it --outputs 1 --jobs 2147483647", "it: more records than there are ids");
}

void tst_Tools::failures()
{
    QFETCH(QString, script);
    QFETCH(QString, tool);
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, line);
    QCOMPARE(shell(store, script.toUtf8().constData()).status, 0);
    const QStringList before = files();
    const Result result = run(tool, arguments);
    QCOMPARE(result.err, line);
    QCOMPARE(result.status, 1);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(files(), before);
}

void tst_Tools::outputThatCannotBeWritten()
{
    const Result full = run(query, words("outputs"), QStringLiteral("/dev/full"));
    QCOMPARE(full.err, QByteArray("zqxml-query: cannot write: No space left on device\n"));
    QCOMPARE(full.status, 1);
    QCOMPARE(shell(query, "exec \"$0\" outputs >&-").status, 1);
    const Result pipe = shell(query, "{ \"$0\" books --format xml; echo $? >&2; } | true");
    QCOMPARE(pipe.err, QByteArray("zqxml-query: cannot write: Broken pipe\n1\n"));
}

void tst_Tools::stores()
{
    run(store, words("create sample --sample"));
    const QStringList jobs = words("jobs --with-publications --format text");
    QCOMPARE(run(query, jobs + words("--database sample")).out, run(query, jobs).out);

    const QStringList size = words("--outputs 3 --publications 5 --jobs 500 --books 7");
    const Result created = run(store, words("create shop") + size);
    QVERIFY2(created.status == 0 && created.err.isEmpty(), created.err.constData());
    run(store, words("create other --seed 9") + size);
    QVERIFY(run(query, words("outputs --database shop")).out.endsWith("\n3 outputs\n"));
    QVERIFY(run(query, words("publications --database shop")).out.endsWith("\n5 publications\n"));
    const QByteArray books = run(query, words("books --database shop")).out;
    QVERIFY(books.endsWith("\n7 books\n") && books != run(query, words("books --database other")).out);

    const Result refused = run(store, words("create shop --outputs 2"));
    QCOMPARE(refused.status, 1);
    QCOMPARE(refused.err, QByteArray("zqxml-store: shop: exists; --force would overwrite it\n"));
    QCOMPARE(run(query, words("books --database shop")).out, books);
    QCOMPARE(run(store, words("create shop --outputs 2 --force")).status, 0);
    QVERIFY(run(query, words("outputs --database shop")).out.endsWith("\n2 outputs\n"));
    QCOMPARE(files(), words("other sample shop"));
}

void tst_Tools::nothingHalfWritten()
{
    const Result full = shell(store, "ulimit -f 200; exec \"$0\" create it --outputs 1 --jobs 100000");
    QCOMPARE(full.status, 1);
    QCOMPARE(full.err.count('\n'), 1);
    QCOMPARE(files(), QStringList());

    QProcess process;
    process.setWorkingDirectory(directory->path());
    process.start(store, words("create it --outputs 1 --jobs 2000000000"));
    QTRY_VERIFY(!files().isEmpty());
    process.terminate();
    process.waitForFinished(-1);
    QCOMPARE(process.exitCode(), 143);
    QCOMPARE(files(), QStringList());
}

QTEST_GUILESS_MAIN(tst_Tools)

#include "tst_tools.moc"
