// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlaction.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlendpoint.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>
#include <zqxmlview/xmlrecordmodel.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDateTime>
#include <QSortFilterProxyModel>

#include <testtools.h>

#include <map>

class TestXMLRecordModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scripts();
    void types();
};

namespace {

struct PlainRecord {
    unsigned int key; // 0 for none
    int content;

    QByteArray text() const
    {
        const QByteArray number = QByteArray::number(content);
        return "SI 8\n1 record " + number + '\n' + (key ? "2 " + QByteArray::number(key, 16) + " 7\n" : QByteArray())
            + "7 " + number + "\nTI 0\n";
    }
};

using PlainRecords = std::vector<PlainRecord>;

std::unique_ptr<XMLPacket> toPacket(const PlainRecords &records)
{
    auto packet = std::make_unique<XMLPacket>();
    for (const PlainRecord &record : records) {
        TextRecord text(record.text(), DBLIST_ENTRY_TYPE);
        packet->append(text, false);
    }
    return packet;
}

enum What { SET_RECORDS, SET_PAGES, REFRESH, UPDATE, REMOVE };

/** What happens, drawn from a seed; who derives does it and notes what comes of it. */
class Script
{
public:
    QStringList log;

protected:
    explicit Script(quint32 seed) : random(seed) { }
    virtual ~Script() = default;

    void run()
    {
        static constexpr What whats[] = {SET_RECORDS, SET_PAGES, REFRESH, REFRESH, UPDATE, UPDATE, UPDATE, REMOVE};
        for (int step = 0; step < 20; ++step) {
            const What what = random.oneOf(whats);
            const PlainRecords records = draw();
            const PlainRecords meanwhile = draw();
            perform(what, records, meanwhile, random.below(3) == 0);
        }
    }

    /** Does \a what; a refresh may fail after its records, and updates come while records are set. */
    virtual void perform(What what, const PlainRecords &records, const PlainRecords &meanwhile, bool fails) = 0;

    void note(int row, const QString &name, unsigned int key, int identity)
    {
        log << QStringLiteral("%1: %2, key %3, made as %4").arg(row).arg(name).arg(key).arg(identity);
    }

private:
    PlainRecords draw()
    {
        PlainRecords records(static_cast<std::size_t>(random.below(12)));
        for (PlainRecord &record : records)
            record = {static_cast<unsigned int>(random.below(10)), ++lastContent + (random.below(2) ? 0 : 100)};
        return records;
    }

    Mischief random;
    int lastContent = 0;
};

class PlainModel : public Script
{
public:
    explicit PlainModel(quint32 seed) : Script(seed)
    {
        run();
    }

private:
    struct Row {
        PlainRecord record;
        int identity;
        bool isTouched;
    };

    void perform(What what, const PlainRecords &records, const PlainRecords &meanwhile, bool fails) override
    {
        if (what == SET_RECORDS || what == SET_PAGES)
            rows.clear();
        for (Row &row : rows)
            row.isTouched = what != REFRESH || fails;
        if (what == SET_RECORDS) { // as they are: two may share a key
            for (const PlainRecord &record : records)
                rows.push_back({record, ++lastIdentity, true});
        }
        if (what != REMOVE)
            update(what == SET_RECORDS ? meanwhile : records);
        for (unsigned int key = 1; what == REMOVE && key < 4; ++key) {
            const auto found = find(key);
            if (found != rows.end())
                rows.erase(found);
        }
        const auto isOld = [](const Row &row) { return !row.isTouched; };
        rows.erase(std::remove_if(rows.begin(), rows.end(), isOld), rows.end());
        int number = 0;
        for (const Row &row : rows)
            note(number++, QStringLiteral("record %1").arg(row.record.content), row.record.key, row.identity);
    }

    void update(const PlainRecords &records)
    {
        for (const PlainRecord &record : records) {
            const auto found = find(record.key);
            if (record.key != 0 && found != rows.end())
                *found = {record, found->identity, true};
            else
                rows.push_back({record, ++lastIdentity, true});
        }
    }

    std::vector<Row>::iterator find(unsigned int key)
    {
        return std::find_if(rows.begin(), rows.end(), [key](const Row &row) { return row.record.key == key; });
    }

    std::vector<Row> rows;
    int lastIdentity = 0;
};

/** The library's model, and an agent that gives records in pages of two. */
class RealModel : public Script
{
public:
    explicit RealModel(quint32 seed)
        : Script(seed), router(nullptr), server(&router, 100), requester(&router),
          tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal)
    {
        QObject::connect(&server, &XMLEndpoint::actionReceived, [this](int asker) { sendPage(asker); });
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, [this](const QModelIndex &, int first, int last) {
            for (int row = first; row <= last; ++row)
                identities.emplace_back(model.index(row, 0), ++lastIdentity);
        });
        run();
    }

private:
    void perform(What what, const PlainRecords &records, const PlainRecords &meanwhile, bool fails) override
    {
        toSend = records;
        lastAction = what == REFRESH && fails ? XMLRecordServer::FAILED : XMLRecordServer::LAST_PAGE;
        XMLAction question;
        if (what == SET_RECORDS) {
            model.setRecords(toPacket(records));
            model.index(model.rowCount() - 1, 0).data(); // before its turn
            model.update(XMLRecords(*toPacket(meanwhile)));
        } else if (what == SET_PAGES) {
            model.setPages(requester.pages(server.getAgentID(), question));
        } else if (what == REFRESH) {
            model.refresh(requester.pages(server.getAgentID(), question));
        } else if (what == UPDATE) {
            model.update(XMLRecords(*toPacket(records)));
        }
        for (unsigned int key = 1; what == REMOVE && key < 4; ++key)
            model.remove({key, 7});
        while (model.isLoading())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        show();
    }

    void sendPage(int asker)
    {
        const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(toSend.size(), 2));
        auto packet = toPacket(PlainRecords(toSend.begin(), toSend.begin() + count));
        toSend.erase(toSend.begin(), toSend.begin() + count);
        packet->setSourceAgentID(server.getAgentID());
        packet->setDestinationAgentID(asker);
        XMLAction action;
        action.setType(toSend.empty() ? lastAction : XMLRecordServer::PAGE);
        packet->append(action);
        server.sendPacket(std::move(packet));
    }

    void show()
    {
        const int column = static_cast<int>(model.columns().indexOf(QStringLiteral("name")));
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto key = model.index(row, 0).data(XMLRecordModel::KeyRole).value<ZQKEY_ELEMENT>();
            const auto found = std::find_if(identities.begin(), identities.end(),
                                            [row](const auto &each) { return each.first.row() == row; });
            note(row, model.index(row, column).data().toString(), key.key, found->second);
        }
    }

    XMLRouter router;
    XMLEndpoint server;
    XMLRequester requester;
    XMLRecordModel model;
    QAbstractItemModelTester tester;
    std::vector<std::pair<QPersistentModelIndex, int>> identities;
    int lastIdentity = 0;
    PlainRecords toSend;
    int lastAction = 0; // of the last page
};

} // namespace

void TestXMLRecordModel::scripts()
{
    compareBySeeds<PlainModel, RealModel>(40);
}

/** Each field is what it is: numbers and times sort as such, whatever they are written in; columns can be chosen. */
void TestXMLRecordModel::types()
{
    const auto job = [](const char *name, const char *bytes, const char *arrived, const char *spots) {
        return QByteArray("SI 15\n1 ") + name + "\n2 a3 7\nb " + bytes + "\nc " + arrived + "\nf 1\n10 2.5\n19 " + spots
            + "\nTI 0\n";
    };
    XMLPacket packet;
    for (const QByteArray &text :
         {job("b", "a", "86400", "2 7 ff"), job("c", "9", "999999999", "0"), job("a", "100", "1", "1 1")}) {
        TextRecord record(text, JOB_TYPE);
        packet.append(record, false);
    }
    XMLRecordModel model;
    const QStringList fields{QStringLiteral("name"),    QStringLiteral("bytes"), QStringLiteral("arrived"),
                             QStringLiteral("spots"),   QStringLiteral("key"),   QStringLiteral("held"),
                             QStringLiteral("nobody's")};
    model.setColumns(fields, {QStringLiteral("Name")});
    auto reply = std::make_unique<XMLPacket>();
    reply->init(&packet);
    model.setRecords(std::move(reply));
    QSortFilterProxyModel sorted;
    sorted.setSourceModel(&model);
    const auto order = [&sorted](int column) {
        sorted.sort(column);
        QString names;
        for (int row = 0; row < sorted.rowCount(); ++row)
            names += sorted.index(row, 0).data().toString();
        return names;
    };
    QCOMPARE(order(0), QStringLiteral("abc"));
    QCOMPARE(order(1), QStringLiteral("cba"));
    QCOMPARE(order(2), QStringLiteral("abc"));
    const QDateTime arrived = QDateTime::fromMSecsSinceEpoch(86400000);
    const QVariantList values{QStringLiteral("b"),    10,   arrived,   QStringLiteral("7, 255"),
                              QStringLiteral("a3:7"), true, QVariant()};
    const QStringList headers{QStringLiteral("Name")};
    for (int column = 0; column < fields.size(); ++column) {
        QCOMPARE(model.index(0, column).data().toString(), values.at(column).toString());
        const auto header = [&](int role) { return model.headerData(column, Qt::Horizontal, role).toString(); };
        QCOMPARE(header(Qt::DisplayRole), headers.value(column, fields.at(column)));
        QCOMPARE(header(XMLRecordModel::FieldRole), fields.at(column));
    }
    QCOMPARE(model.index(0, 2).data().toDateTime().timeSpec(), Qt::LocalTime);
    QVERIFY(!model.index(0, 6).data().isValid());
    QCOMPARE(model.index(0, 0).data(Qt::TextAlignmentRole).toInt(), int(Qt::AlignLeft | Qt::AlignVCenter));
    QCOMPARE(model.index(0, 1).data(Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight | Qt::AlignVCenter));
    model.setKeyField(QStringLiteral("publicationKey"));
    QCOMPARE(model.rowCount(), 0);
    model.update(XMLRecords(packet));
    QCOMPARE(model.rowOf({0xa3, 7}), -1);
    model.setColumns({});
    model.update(XMLRecords(packet));
    QCOMPARE(model.columns(), (*XMLRecords(packet).begin()).fieldNames());
}

ZQXML_WIDGET_TEST_MAIN(TestXMLRecordModel)
#include "tst_xmlrecordmodel.moc"
