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

class Script
{
public:
    QStringList log;

protected:
    explicit Script(quint32 seed) : random(seed) { }
    virtual ~Script() = default;

    void run()
    {
        for (int step = 0; step < 20; ++step) {
            const PlainRecords first = draw();
            const PlainRecords second = draw();
            const bool fails = random.below(3) == 0;
            switch (random.below(8)) {
            case 0:
                setRecords(first, second);
                break;
            case 1:
                setPages(first);
                break;
            case 2:
            case 3:
                refresh(first, fails);
                break;
            case 4:
            case 5:
            case 6:
                update(first);
                break;
            case 7:
                for (unsigned int key = 1; key < 4; ++key)
                    remove(key);
                break;
            }
            show();
        }
    }

    virtual void setRecords(const PlainRecords &records, const PlainRecords &updatesMeanwhile) = 0;
    virtual void setPages(const PlainRecords &records) = 0;
    virtual void refresh(const PlainRecords &records, bool fails) = 0;
    virtual void update(const PlainRecords &records) = 0;
    virtual void remove(unsigned int key) = 0;
    virtual void show() = 0;

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

    void setRecords(const PlainRecords &records, const PlainRecords &updatesMeanwhile) override
    {
        rows.clear();
        for (const PlainRecord &record : records)
            rows.push_back({record, ++lastIdentity, true});
        update(updatesMeanwhile);
    }

    void setPages(const PlainRecords &records) override
    {
        rows.clear();
        update(records);
    }

    void refresh(const PlainRecords &records, bool fails) override
    {
        for (Row &row : rows)
            row.isTouched = false;
        update(records);
        const auto isOld = [](const Row &row) { return !row.isTouched; };
        if (!fails)
            rows.erase(std::remove_if(rows.begin(), rows.end(), isOld), rows.end());
    }

    void update(const PlainRecords &records) override
    {
        for (const PlainRecord &record : records) {
            const auto found = find(record.key);
            if (record.key != 0 && found != rows.end())
                *found = {record, found->identity, true};
            else
                rows.push_back({record, ++lastIdentity, true});
        }
    }

    void remove(unsigned int key) override
    {
        const auto found = find(key);
        if (found != rows.end())
            rows.erase(found);
    }

    std::vector<Row>::iterator find(unsigned int key)
    {
        return std::find_if(rows.begin(), rows.end(), [key](const Row &row) { return row.record.key == key; });
    }

    void show() override
    {
        int number = 0;
        for (const Row &row : rows)
            note(number++, QStringLiteral("record %1").arg(row.record.content), row.record.key, row.identity);
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
    void setRecords(const PlainRecords &records, const PlainRecords &updatesMeanwhile) override
    {
        model.setRecords(toPacket(records));
        model.index(model.rowCount() - 1, 0).data(); // before its turn
        update(updatesMeanwhile);
        wait();
    }

    void setPages(const PlainRecords &records) override
    {
        model.setPages(ask(records, false));
        wait();
    }

    void refresh(const PlainRecords &records, bool fails) override
    {
        model.refresh(ask(records, fails));
        wait();
    }

    void update(const PlainRecords &records) override
    {
        model.update(XMLRecords(*toPacket(records)));
    }

    void remove(unsigned int key) override
    {
        model.remove({key, 7});
    }

    XMLPages *ask(const PlainRecords &records, bool fails)
    {
        toSend = records;
        isToFail = fails;
        XMLAction action;
        return requester.pages(server.getAgentID(), action);
    }

    void sendPage(int asker)
    {
        const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(toSend.size(), 2));
        auto packet = toPacket(PlainRecords(toSend.begin(), toSend.begin() + count));
        toSend.erase(toSend.begin(), toSend.begin() + count);
        packet->setSourceAgentID(server.getAgentID());
        packet->setDestinationAgentID(asker);
        XMLAction action;
        action.setType(!toSend.empty() ? XMLRecordServer::PAGE
                           : isToFail  ? XMLRecordServer::FAILED
                                       : XMLRecordServer::LAST_PAGE);
        packet->append(action);
        server.sendPacket(std::move(packet));
    }

    void wait()
    {
        while (model.isLoading())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    void show() override
    {
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto key = model.index(row, 0).data(XMLRecordModel::KeyRole).value<ZQKEY_ELEMENT>();
            const auto found = std::find_if(identities.begin(), identities.end(),
                                            [row](const auto &each) { return each.first.row() == row; });
            const int column = static_cast<int>(model.columns().indexOf(QStringLiteral("name")));
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
    bool isToFail = false;
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
    const auto value = [&model](int column) { return model.index(0, column).data(); };
    QCOMPARE(value(1).toInt(), 10);
    QCOMPARE(value(2).toDateTime(), QDateTime::fromMSecsSinceEpoch(86400000));
    QCOMPARE(value(2).toDateTime().timeSpec(), Qt::LocalTime);
    QCOMPARE(value(3).toString(), QStringLiteral("7, 255"));
    QCOMPARE(value(4).toString(), QStringLiteral("a3:7"));
    QCOMPARE(value(5), QVariant(true));
    QVERIFY(!value(6).isValid());
    QCOMPARE(model.index(0, 0).data(Qt::TextAlignmentRole).toInt(), int(Qt::AlignLeft | Qt::AlignVCenter));
    QCOMPARE(model.index(0, 1).data(Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight | Qt::AlignVCenter));
    QCOMPARE(model.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Name"));
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QStringLiteral("bytes"));
    QCOMPARE(model.headerData(1, Qt::Horizontal, XMLRecordModel::FieldRole).toString(), QStringLiteral("bytes"));

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
