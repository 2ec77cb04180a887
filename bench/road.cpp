// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "loop.h"
#include "pieces.h"

#include <standin/zqstandin.h>
#include <tests/zqxml/plainconversion.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>

#include <QTemporaryDir>

#include <vector>

namespace {

// Of the jobs in the store about JOBS wait for their output.
const int JOBS = isCounting() ? 100 : 1000;
const unsigned int JOBS_IN_STORE = static_cast<unsigned int>(JOBS) * 1434 / 1000;

using Record = std::unique_ptr<ZQPacketable>;

/** Rebuilds the record of \a element as an agent does that has received it. */
Record rebuild(const QDomElement &element)
{
    XMLPacketable object;
    object.setNode(element);
    return Record(object.getData());
}

template <typename Write>
Record rebuildWith(const QDomElement &element, Write write)
{
    XMLPacketable object;
    object.setNode(element);
    QByteArray text = write(object.getNodeConst()).toUtf8();
    const Record held(PacketableUtil::getPacketable(object.getType()));
    if (!held->fromPacket(text.data(), static_cast<unsigned int>(text.size()), false, true))
        return nullptr;
    Record copy(PacketableUtil::getPacketable(object.getType()));
    *copy = *held;
    return copy;
}

std::vector<QDomElement> recordsOf(XMLPacket &packet)
{
    std::list<QDomNode> nodes;
    packet.getNodesOfType(XMLObject::XML_PACKETABLE, nodes);
    std::vector<QDomElement> elements;
    for (const QDomNode &n : nodes)
        elements.push_back(n.toElement());
    return elements;
}

/** Asks for jobs and rebuilds those of the answer. */
class RebuildingAgent : public XMLAgent
{
public:
    RebuildingAgent() : XMLAgent(100) { }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> reply(packet);
        for (const QDomElement &element : recordsOf(*reply)) {
            if (rebuild(element))
                ++rebuilt;
        }
    }

    /** Asks, and waits until \a count jobs have come. */
    int request(int count)
    {
        rebuilt = 0;
        XMLAction action(QString(), XMLCommServer::REQUEST_JOBS, 0);
        XMLPacket *const packet = getXMLPacket(XMLRouter::getXMLCommServerID());
        packet->appendV(action);
        router->send(packet);
        while (rebuilt < count)
            QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return rebuilt;
    }

private:
    int rebuilt = 0;
};

/** A store of jobs, and what the parts of the road start from. */
class Road
{
public:
    static Road &instance()
    {
        static Road road;
        return road;
    }

    /** Fetches the jobs as the comm server agent does, and frees them. */
    int query()
    {
        ZQLIST_ELEMENT *jobs = fetch();
        int count = 0;
        for (const ZQLIST_ELEMENT *job = jobs; job; job = job->next)
            ++count;
        ZQPacketFreeList(&jobs, JOB_TYPE);
        return count;
    }

    std::unique_ptr<XMLPacket> convert()
    {
        auto packet = std::make_unique<XMLPacket>();
        for (const auto &record : records)
            packet->appendV(*record, false);
        return packet;
    }

    std::unique_ptr<XMLPacket> convertPlainly()
    {
        return convertWith([](QDomElement &node, std::size_t, char *text, unsigned int length) {
            plain::read(node, text, static_cast<int>(length));
        });
    }

    std::unique_ptr<XMLPacket> buildFloor()
    {
        return convertWith([this](QDomElement &node, std::size_t i, char *, unsigned int) { pieces[i].build(node); });
    }

    int rebuildAll()
    {
        return rebuildEach([](const QDomElement &element, std::size_t) { return rebuild(element); });
    }

    int rebuildAllPlainly()
    {
        return rebuildEach([](const QDomElement &element, std::size_t) {
            return rebuildWith(element, [](const QDomElement &node) { return plain::toPacket(node); });
        });
    }

    int rebuildFloor()
    {
        return rebuildEach([this](const QDomElement &element, std::size_t i) {
            return rebuildWith(element, [this, i](const QDomElement &node) {
                QString text;
                text.reserve(sizes[i]);
                pieces[i].write(text, node);
                return text;
            });
        });
    }

    /** Sends the reply and waits for it, twice: as a request and as its answer. */
    template <typename Router>
    int route(Router &other, CountingAgent &agent)
    {
        for (int i = 0; i < 2; ++i) {
            other.send(reply.get());
            agent.waitFor(1);
        }
        return 2;
    }

    int walk()
    {
        return requester.request(count());
    }

private:
    Road()
    {
        QString error;
        ZQSTORESIZE size;
        size.outputs = 5;
        size.jobs = JOBS_IN_STORE;
        const QString file = directory.filePath(QStringLiteral("jobs.db"));
        require(ZQCreateStore(file, size, nullptr, &error), "no store: " + error.toStdString());
        server = std::make_unique<ZQCommServer>(ZQOpenStore(file, &error));
        asker = std::make_unique<XMLCommServer>(server.get());
        router = std::make_unique<XMLRouter>(server.get());
        router->add(&requester);
        prepareRecords();
        prepareReply();
        check();
    }

    int count() const
    {
        return static_cast<int>(records.size());
    }

    ZQLIST_ELEMENT *fetch()
    {
        ZQLIST_ELEMENT *outputs = asker->getDBList(OUTPUT_LIST_TYPE);
        ZQLIST_ELEMENT *jobs = nullptr;
        for (const ZQLIST_ELEMENT *output = outputs; output; output = output->next) {
            ZQLIST_ELEMENT *const more = asker->getZQJOBs(static_cast<const ZQDBLIST_ENTRY *>(output)->key);
            if (more)
                AddListList(&jobs, more);
        }
        ZQPacketFreeList(&outputs, DBLIST_ENTRY_TYPE);
        return jobs;
    }

    void prepareRecords()
    {
        ZQLIST_ELEMENT *jobs = fetch();
        while (ZQLIST_ELEMENT *const element = jobs) {
            RemoveItemFromList(&jobs, element);
            ZQJOB *const job = static_cast<ZQJOB *>(element);
            ZQJOB_CC::trimLists(job);
            auto converter = std::make_unique<ZQJOB_CC>();
            converter->setName(job->name);
            converter->setData(job);
            records.push_back(std::move(converter));
        }
    }

    void prepareReply()
    {
        reply = convertPlainly();
        reply->setSourceAgentID(1);
        reply->setDestinationAgentID(1);
        elements = recordsOf(*reply);
        for (const QDomElement &element : elements) {
            pieces.emplace_back(element);
            sizes.push_back(static_cast<int>(plain::toPacket(element).size()));
        }
    }

    template <typename Fill>
    std::unique_ptr<XMLPacket> convertWith(Fill fill)
    {
        auto packet = std::make_unique<XMLPacket>();
        for (std::size_t i = 0; i < records.size(); ++i) {
            XMLPacketable object;
            object.setType(records[i]->dataType);
            object.setName(QString::fromUtf8(records[i]->name));
            unsigned int length = 0;
            const std::unique_ptr<char, decltype(&std::free)> text(records[i]->toPacket(length), &std::free);
            QDomElement node = object.getNode();
            fill(node, i, text.get(), length);
            packet->appendV(object);
        }
        return packet;
    }

    template <typename Rebuild>
    int rebuildEach(Rebuild rebuildOne)
    {
        int count = 0;
        for (std::size_t i = 0; i < elements.size(); ++i)
            count += rebuildOne(elements[i], i) != nullptr;
        return count;
    }

    void check()
    {
        const std::unique_ptr<XMLPacket> ours = convert();
        const std::unique_ptr<XMLPacket> floor = buildFloor();
        const std::vector<QDomElement> ourElements = recordsOf(*ours);
        const std::vector<QDomElement> floorElements = recordsOf(*floor);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const QString right = dump(elements[i]);
            require(dump(ourElements[i]) == right, "a job is converted to another tree than in the plain form");
            require(dump(floorElements[i]) == right, "the floor of a job is another tree");
            const Record record = rebuild(elements[i]);
            QString floorText;
            pieces[i].write(floorText, elements[i]);
            require(record && floorText == plain::toPacket(elements[i])
                        && XMLPacketable::toPacket(elements[i]) == floorText,
                    "the forms of a job's text differ");
        }
        require(count() > JOBS / 2 && walk() == count() && rebuildAll() == count() && rebuildFloor() == count()
                    && rebuildAllPlainly() == count(),
                "not every job is rebuilt");
    }

    const QTemporaryDir directory;
    std::unique_ptr<ZQCommServer> server;
    std::unique_ptr<XMLCommServer> asker;
    RebuildingAgent requester;
    std::unique_ptr<XMLRouter> router;
    std::vector<std::unique_ptr<ZQJOB_CC>> records;
    std::unique_ptr<XMLPacket> reply;
    std::vector<QDomElement> elements;
    std::vector<Pieces> pieces;
    std::vector<int> sizes;
};

template <typename Call>
void addPart(const std::string &name, Call call)
{
    const auto prepare = [call](benchmark::State &) {
        Road &road = Road::instance();
        return [&road, call] { return call(road); };
    };
    add("road/" + name + '/' + std::to_string(JOBS), prepare, Load::Large)->Unit(benchmark::kMicrosecond);
}

template <typename Router, typename MakeRouter>
void addRoute(const std::string &form, MakeRouter makeRouter)
{
    add("road/routing/" + form + '/' + std::to_string(JOBS), [makeRouter](benchmark::State &) {
        const std::shared_ptr<Router> router = makeRouter();
        const auto agent = std::make_shared<CountingAgent>();
        router->add(agent.get());
        Road &road = Road::instance();
        return [router, agent, &road] { return road.route(*router, *agent); };
    })->Unit(benchmark::kMicrosecond);
}

} // namespace

void addRoad()
{
    addPart("whole/ours", [](Road &road) { return road.walk(); });
    addPart("query/ours", [](Road &road) { return road.query(); });
    addPart("conversion/ours", [](Road &road) { return road.convert(); });
    addPart("conversion/floor", [](Road &road) { return road.buildFloor(); });
    addPart("conversion/plain", [](Road &road) { return road.convertPlainly(); });
    addPart("rebuilding/ours", [](Road &road) { return road.rebuildAll(); });
    addPart("rebuilding/floor", [](Road &road) { return road.rebuildFloor(); });
    addPart("rebuilding/plain", [](Road &road) { return road.rebuildAllPlainly(); });
    addRoute<XMLRouter>("ours", [] { return std::make_shared<XMLRouter>(nullptr); });
    addRoute<Loop<NoTest>>("untested", [] { return std::make_shared<Loop<NoTest>>(); });
}
