// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

/**
 * \file
 * Sends packets with records between many agents, and requests to the comm server, without a pause, and keeps accounts:
 * every accepted packet has to come once and in order, and every other has to be dropped by a rule. One line a minute
 * tells the packets, the live objects and the resident memory, which must not grow after the first minute.
 */

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <memory>
#include <vector>

#include <unistd.h>

namespace {

using Count = unsigned long long;

Count livePackets = 0;

/** A packet that is counted while it lives. */
class CountedPacket : public XMLPacket
{
public:
    CountedPacket()
    {
        ++livePackets;
    }
    ~CountedPacket() override
    {
        --livePackets;
    }
    using XMLPacket::operator=;
};

struct Account {
    struct Delivery {
        Count number;
        int destination;
    };

    std::deque<Delivery> due; ///< packets that were accepted, oldest first
    Count sent = 0;
    Count received = 0;
    Count repeats = 0; ///< equal to the last packet that waited
    Count strangers = 0; ///< from an agent that is not registered
    Count unknown = 0; ///< to an agent that is not registered
    Count requests = 0;
    Count replies = 0;
    Count recordsAskedFor = 0;
    Count records = 0; ///< in the replies
    Count notifications = 0;
    Count faults = 0;

    void fail(const char *what)
    {
        if (++faults <= 20)
            std::fprintf(stderr, "zqxml-soak: %s\n", what);
    }
};

class SoakAgent : public XMLAgent
{
public:
    SoakAgent(Account &theAccount, bool wantsRemovals) : XMLAgent(100), account(theAccount)
    {
        removalNotificationsWanted = wantsRemovals;
    }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> received(packet);
        std::list<QDomNode> records;
        received->getNodesOfType(XMLObject::XML_PACKETABLE, records);
        if (received->getSourceAgentID() == XMLRouter::getXMLCommServerID()) {
            ++account.replies;
            account.records += records.size();
            return;
        }
        ++account.received;
        const Count number =
            records.size() == 1 ? records.front().toElement().attribute(XMLPacketable::NAME).toULongLong() : 0;
        if (account.due.empty() || account.due.front().number != number
            || account.due.front().destination != getAgentID())
            account.fail("a packet is lost, came twice, to another agent, out of order or without its record");
        if (!account.due.empty())
            account.due.pop_front();
    }

    void agentRemoved(int) override
    {
        ++account.notifications;
    }

private:
    Account &account;
};

/** Returns the resident memory of this process, kilobytes. */
long residentMemory()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLong() * (sysconf(_SC_PAGESIZE) / 1024);
}

class Soak
{
public:
    Soak(ZQCommServer &server, unsigned int agentCount) : stranger(account, false), router(&server)
    {
        // Not for outputs: their replies leave a converter to the record library each.
        gatherQuestions(server, OUTPUT_LIST_TYPE, XMLCommServer::REQUEST_JOBS);
        gatherQuestions(server, BOOK_LIST_TYPE, XMLCommServer::REQUEST_BOOKS);
        for (unsigned int i = 0; i < agentCount; ++i) {
            const bool wantsRemovals = i % 100 == 0;
            agents.push_back(std::make_unique<SoakAgent>(account, wantsRemovals));
            router.add(agents.back().get());
            listeners += wantsRemovals;
        }
        stranger.setAgentID(router.getNextAgentID());
        QByteArray text("SI 8\n1 Rolle S\xc3\xbc"
                        "d 50%\n2 a3 7\n3 c\n4 1\n5 78\n6 4b0\n7 3\nTI 0\n");
        if (!record.fromPacket(text.data(), static_cast<unsigned int>(text.size()), false, true))
            account.fail("no record");
    }

    /** Sends some packets and lets all of them be delivered. */
    void sendBatch()
    {
        const quint32 size = 1 + random.bounded(100u);
        for (quint32 i = 0; i < size; ++i)
            sendOne();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (livePackets != 0)
            account.fail("a packet is alive after its delivery");
        if (!account.due.empty())
            account.fail("a packet did not come");
        if (account.replies != account.requests || account.records != account.recordsAskedFor)
            account.fail("a request was not answered once, with all its records");
    }

    bool isBalanced() const
    {
        return account.faults == 0
            && account.sent
            == account.received + account.repeats + account.strangers + account.unknown + account.requests
            && account.notifications == account.unknown * listeners;
    }

    Account account;

private:
    struct Question {
        ZQKEY_ELEMENT key;
        int code;
        Count records;
    };

    void gatherQuestions(ZQCommServer &server, PACKETDATATYPES list, int code)
    {
        const XMLCommServer direct(&server);
        ZQLIST_ELEMENT *entries = direct.getDBList(list);
        for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
            const ZQKEY_ELEMENT key = static_cast<const ZQDBLIST_ENTRY *>(entry)->key;
            ZQLIST_ELEMENT *found = code == XMLCommServer::REQUEST_JOBS ? direct.getZQJOBs(key) : direct.getBooks(key);
            questions.push_back({key, code, 0});
            for (const ZQLIST_ELEMENT *each = found; each; each = each->next)
                ++questions.back().records;
            ZQPacketFreeList(&found, code == XMLCommServer::REQUEST_JOBS ? JOB_TYPE : BOOK_TYPE);
        }
        ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
    }

    const SoakAgent &any()
    {
        return *agents[random.bounded(static_cast<quint32>(agents.size()))];
    }

    void sendOne()
    {
        ++account.sent;
        const quint32 kind = random.bounded(1000u);
        const int from = any().getAgentID();
        if (kind < 2) {
            request();
        } else if (kind < 12) {
            ++account.unknown;
            post(from, 1000000);
        } else if (kind < 22) {
            ++account.strangers;
            post(stranger.getAgentID(), from);
        } else {
            const int to = any().getAgentID();
            account.due.push_back({account.sent, to});
            const XMLPacket &packet = post(from, to);
            if (kind < 42) {
                auto repeat = std::make_unique<CountedPacket>();
                *repeat = packet;
                ++account.sent;
                ++account.repeats;
                router.send(repeat.release());
            }
        }
    }

    /** Sends a packet with a record that is named by a number. */
    const XMLPacket &post(int source, int destination)
    {
        auto *const packet = new CountedPacket;
        packet->setSourceAgentID(source);
        packet->setDestinationAgentID(destination);
        record.setName(QByteArray::number(account.sent).constData());
        packet->append(record, false);
        router.send(packet); // lives until the event loop runs
        return *packet;
    }

    void request()
    {
        // Not the same agent twice: the second of two equal replies in a row would be dropped.
        const SoakAgent &from = *agents[account.requests % agents.size()];
        Question &question = questions[account.requests++ % questions.size()];
        account.recordsAskedFor += question.records;
        XMLAction action(QString::number(account.sent), question.code, 0);
        action.setZQKEYList({&question.key});
        action.setExcludePublications(false);
        auto packet = std::make_unique<CountedPacket>();
        packet->setSourceAgentID(from.getAgentID());
        packet->setDestinationAgentID(XMLRouter::getXMLCommServerID());
        packet->append(action);
        router.send(packet.release());
    }

    QRandomGenerator random{1};
    std::vector<std::unique_ptr<SoakAgent>> agents;
    std::vector<Question> questions;
    SoakAgent stranger;
    ZQPacketable record{DBLIST_ENTRY_TYPE};
    Count listeners = 0;
    XMLRouter router; ///< goes first, and tells the agents so
};

struct Sample {
    long memory; ///< kilobytes
    unsigned int records;
    unsigned int converters;
};

Sample takeSample(const Account &account, qint64 milliseconds)
{
    const Sample sample = {residentMemory(), ZQLiveRecords(), ZQLiveConverters()};
    std::printf("%7.1f min %10llu packets %8ld kB %u records %u converters %llu packets alive\n",
                static_cast<double>(milliseconds) / 60000, account.sent, sample.memory, sample.records,
                sample.converters, livePackets);
    std::fflush(stdout);
    return sample;
}

int soak(ZQCommServer &server, Count count, unsigned int agentCount)
{
    constexpr qint64 minute = 60000;
    Soak run(server, agentCount);
    const Account &account = run.account;
    QElapsedTimer clock;
    clock.start();
    Sample first{};
    for (qint64 next = 0; account.sent < count; run.sendBatch()) {
        if (clock.elapsed() < next)
            continue;
        const Sample sample = takeSample(account, clock.elapsed());
        if (next <= minute)
            first = sample;
        next += minute;
    }
    const Sample last = takeSample(account, clock.elapsed());
    std::printf("%llu received, %llu repeats, %llu from strangers, %llu to nobody, %llu requests, %llu replies with "
                "%llu records, %llu notifications, %llu faults\n",
                account.received, account.repeats, account.strangers, account.unknown, account.requests,
                account.replies, account.records, account.notifications, account.faults);
    // A heap that is torn by the sizes of packets needs some pages more now and then.
    const bool flat = last.records == first.records && last.converters == first.converters
        && last.memory - first.memory <= first.memory / 10;
    std::printf("accounts %s, memory and objects %s\n", run.isBalanced() ? "balanced" : "NOT balanced",
                clock.elapsed() < 2 * minute ? "not judged"
                    : flat                   ? "flat"
                                             : "NOT flat");
    return run.isBalanced() && (flat || clock.elapsed() < 2 * minute) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Routes packets for a long time and keeps accounts."));
    parser.addHelpOption();
    const QCommandLineOption packets(QStringLiteral("packets"), QStringLiteral("How many packets to send."),
                                     QStringLiteral("N"), QStringLiteral("10000000"));
    const QCommandLineOption agents(QStringLiteral("agents"), QStringLiteral("Between how many agents."),
                                    QStringLiteral("N"), QStringLiteral("1000"));
    parser.addOptions({packets, agents});
    parser.process(application);
    const Count count = parser.value(packets).toULongLong();
    const unsigned int agentCount = parser.value(agents).toUInt();
    QString error;
    ZQCommServer server(ZQOpenSampleStore(&error));
    if (count == 0 || agentCount == 0)
        error = QStringLiteral("both numbers must be positive");
    if (!error.isEmpty()) {
        std::fprintf(stderr, "zqxml-soak: %s\n", error.toUtf8().constData());
        return 1;
    }
    return soak(server, count, agentCount);
}
