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

QString lineOf(int row, const QString &name, unsigned int key, int identity)
{
    return QStringLiteral("%1: %2, key %3, made as %4").arg(row).arg(name).arg(key).arg(identity);
}

/** What happens to a subject, drawn from a seed; a refresh may fail, and updates come while a turn is not the last. */
template <typename Subject>
struct Script {
    explicit Script(quint32 seed) : random(seed), most(random.below(8) ? 12 : 60)
    {
        static constexpr What whats[] = {SET_RECORDS, SET_PAGES, REFRESH, REFRESH, UPDATE, UPDATE, UPDATE, REMOVE};
        Subject subject;
        for (int step = 0; step < (most == 12 ? 20 : 8); ++step) {
            const What what = random.oneOf(whats);
            const PlainRecords records = draw();
            const PlainRecords meanwhile = draw();
            log << subject.perform(what, records, meanwhile, random.below(3) == 0);
        }
    }

    PlainRecords draw()
    {
        PlainRecords records(static_cast<std::size_t>(random.below(most)));
        for (PlainRecord &record : records)
            record = {static_cast<unsigned int>(random.below(most)), ++lastContent + (random.below(2) ? 0 : 100)};
        return records;
    }

    Mischief random;
    const int most; // records and keys
    int lastContent = 0;
    QStringList log;
};

struct PlainModel {
    struct Row {
        PlainRecord record;
        int identity;
        bool isTouched;
    };

    QStringList perform(What what, const PlainRecords &records, const PlainRecords &meanwhile, bool fails)
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
        if (what == REFRESH)
            update(meanwhile);
        QStringList log;
        for (const Row &row : rows)
            log << lineOf(log.size(), QStringLiteral("record %1").arg(row.record.content), row.record.key,
                          row.identity);
        return log;
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

/** The library's model, and an agent that gives records in about four pages. */
struct RealModel {
    RealModel()
    {
        QObject::connect(&server, &XMLEndpoint::actionReceived, [this](int asker) { sendPage(asker); });
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, [this](const QModelIndex &, int first, int last) {
            for (int row = first; row <= last; ++row)
                identities.emplace_back(model.index(row, 0), ++lastIdentity);
        });
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, [this] {
            hasRemoved = true;
            if (isWatched)
                QThread::msleep(6); // so that the rest takes another turn
        });
    }

    QStringList perform(What what, const PlainRecords &records, const PlainRecords &meanwhile, bool fails)
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
        hasRemoved = false;
        isWatched = true;
        while (model.isLoading() && !hasRemoved)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        isWatched = false;
        if (what == REFRESH)
            model.update(XMLRecords(*toPacket(meanwhile)));
        while (model.isLoading())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        identities.erase(std::remove_if(identities.begin(), identities.end(),
                                        [](const auto &each) { return !each.first.isValid(); }),
                         identities.end());
        const int column = static_cast<int>(model.columns().indexOf(QStringLiteral("name")));
        QStringList log;
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto key = model.index(row, 0).data(XMLRecordModel::KeyRole).value<ZQKEY_ELEMENT>();
            const auto found = std::find_if(identities.begin(), identities.end(),
                                            [row](const auto &each) { return each.first.row() == row; });
            log << lineOf(row, model.index(row, column).data().toString(), key.key, found->second);
        }
        return log;
    }

    void sendPage(int asker)
    {
        const auto count = static_cast<std::ptrdiff_t>((toSend.size() + 3) / 4);
        auto packet = toPacket(PlainRecords(toSend.begin(), toSend.begin() + count));
        toSend.erase(toSend.begin(), toSend.begin() + count);
        packet->setSourceAgentID(server.getAgentID());
        packet->setDestinationAgentID(asker);
        XMLAction action;
        action.setType(toSend.empty() ? lastAction : XMLRecordServer::PAGE);
        packet->append(action);
        server.sendPacket(std::move(packet));
    }

    XMLRouter router{nullptr};
    XMLEndpoint server{&router, 100};
    XMLRequester requester{&router};
    XMLRecordModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    std::vector<std::pair<QPersistentModelIndex, int>> identities;
    int lastIdentity = 0;
    bool hasRemoved = false; // rows
    bool isWatched = false;
    PlainRecords toSend;
    int lastAction = 0; // of the last page
};

} // namespace

void TestXMLRecordModel::scripts()
{
    compareBySeeds<Script<PlainModel>, Script<RealModel>>(40);
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
    QStringList notes;
    for (int column = 0; column < 3; ++column) {
        sorted.sort(column);
        notes << QStringLiteral("sorted");
        for (int row = 0; row < sorted.rowCount(); ++row)
            notes.last() += QLatin1Char(' ') + sorted.index(row, 0).data().toString();
    }
    for (int column = 0; column < fields.size(); ++column) {
        const auto header = [&](int role) { return model.headerData(column, Qt::Horizontal, role).toString(); };
        const QVariant value = model.index(0, column).data();
        const bool isTime = value.userType() == QMetaType::QDateTime;
        notes << QStringLiteral("%1, %2: %3 %4, aligned %5")
                     .arg(header(Qt::DisplayRole), header(XMLRecordModel::FieldRole), QLatin1String(value.typeName()))
                     .arg((isTime ? value.toDateTime().toUTC() : value).toString())
                     .arg(model.index(0, column).data(Qt::TextAlignmentRole).toInt());
    }
    compareWithKept(notes, QFINDTESTDATA("../data/view/values.txt"));
    QCOMPARE(model.index(0, 2).data().toDateTime().timeSpec(), Qt::LocalTime);
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
