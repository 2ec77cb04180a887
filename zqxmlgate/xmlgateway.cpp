// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlgateway.h"

#include "gatesession_p.h"
#include "xmlgatewaybroker.h"
#include "xmlproxyagent.h"

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlwire.h>

#include <QRandomGenerator>
#include <QTimerEvent>
#include <QtEndian>

#include <algorithm>

namespace {

// Milliseconds.
constexpr int hurriedInterval = 50;
constexpr int calmInterval = 250;
constexpr qint64 slice = 8; // of the event loop
constexpr qint64 askTime = 300;
constexpr qint64 firstPause = 500; // between announcements
constexpr qint64 longestPause = 10000;
constexpr qint64 scanInterval = 200;
constexpr qint64 ownSilence = 1000; // a longer one is no fault of the peers
constexpr qint64 ignoreTime = 60000;
constexpr qint64 supplyTime = 5000;

constexpr int unreadableAllowed = 10;
constexpr std::size_t mostPeers = 20000;
constexpr std::size_t mostSuspects = 1000;
constexpr std::size_t mostComplaints = 1000;
constexpr std::size_t mostAgents = 200000; // of a peer
constexpr std::size_t mostHeld = 1000; // packets for an agent that is being made

constexpr quint32 windowFrames = 1024;
constexpr quint32 windowBytes = 1 << 20;

enum Message : char {
    PacketMessage = 'P',
    AddMessage = 'A',
    RemoveMessage = 'R',
    OfferMessage = 'O',
    WantMessage = 'W',
    FailMessage = 'F'
};

void put(QByteArray &bytes, quint32 number)
{
    char place[sizeof number];
    qToBigEndian(number, place);
    bytes.append(place, sizeof place);
}

/** Returns a message of a kind and numbers, which are sent as 32 bits. */
QByteArray makeMessage(Message kind, std::initializer_list<quint32> numbers)
{
    QByteArray message(1, kind);
    for (const quint32 number : numbers)
        put(message, number);
    return message;
}

quint32 toWord(int number)
{
    return static_cast<quint32>(number);
}

quint32 wordAt(const QByteArray &message, int index)
{
    return qFromBigEndian<quint32>(message.constData() + 1 + std::ptrdiff_t(4) * index);
}

int numberAt(const QByteArray &message, int index)
{
    return static_cast<qint32>(wordAt(message, index));
}

bool isGoodName(const QByteArray &name)
{
    return !name.isEmpty() && name.size() <= 64 && name != "all" && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    });
}

/** Knows the proxies of all gateways of a router, which must not be shown by another one. */
class ProxyIDs : public QObject
{
public:
    static ProxyIDs &of(XMLRouter *router)
    {
        const QString name = QStringLiteral("zqxmlgate_proxies");
        QObject *found = router->findChild<QObject *>(name, Qt::FindDirectChildrenOnly);
        if (!found) {
            found = new ProxyIDs;
            found->setObjectName(name);
            found->setParent(router);
        }
        return *static_cast<ProxyIDs *>(found);
    }

    std::set<int> ids;
};

} // namespace

/** What this gateway knows of another. */
class Q_DECL_HIDDEN XMLGateway::Peer : public GateSession
{
public:
    Peer(XMLGateway &gateway, const QByteArray &peerName)
        : GateSession(gateway.sessions, {static_cast<quint32>(gateway.largestPacket) + 1, windowFrames, windowBytes}),
          owner(gateway), name(peerName), text(QString::fromUtf8(peerName))
    {
    }

    void send(const QByteArray &message)
    {
        if (state() != Open)
            return;
        queue(message, false, owner.now());
        owner.hurry();
    }

    bool transmit(const QByteArray &frame, bool probe) override
    {
        return owner.transport->isConnected() && owner.transport->send(name, frame, probe);
    }

    void opened() override
    {
        for (const auto &[id, type] : owner.exported)
            owner.listTo(*this, id, type);
        for (const int type : owner.offeredTypes)
            send(makeMessage(OfferMessage, {toWord(type)}));
        owner.later([gateway = &owner, peer = text] { Q_EMIT gateway->peerJoined(peer); });
    }

    bool received(const QByteArray &message, quint64 number) override
    {
        const char kind = message.isEmpty() ? '\0' : message.at(0);
        const int words = static_cast<int>(message.size() - 1) / 4;
        if (kind == PacketMessage) {
            owner.takeAgentPacket(*this, message.mid(1), number);
            return state() != Open;
        }
        if (kind == AddMessage && words == 3)
            owner.addProxy(*this, numberAt(message, 1), numberAt(message, 2), wordAt(message, 0));
        else if (kind == RemoveMessage && words == 1)
            removeProxy(numberAt(message, 0));
        else if (kind == OfferMessage && words == 1 && offers.size() < mostAgents)
            offers.insert(numberAt(message, 0));
        else if (kind == WantMessage && words == 2)
            owner.later([gateway = &owner, peer = name, from = session(), request = wordAt(message, 0),
                         type = numberAt(message, 1)] { gateway->supply(peer, from, request, type); });
        else if (kind == FailMessage && words == 1)
            failRequest(wordAt(message, 0));
        else
            unreadable();
        return true;
    }

    void unreadable() override
    {
        ++owner.counted.unreadable;
        if (++violations < unreadableAllowed)
            return;
        Suspect &suspect = owner.suspects[name];
        suspect.count = 0;
        suspect.ignoredUntil = owner.now() + ignoreTime;
        abort(QStringLiteral("sends what cannot be read and is ignored for a minute"));
    }

    void ended(const QString &reason, int lostPackets) override
    {
        std::vector<XMLProxyAgent *> gone;
        for (const auto &[remoteID, proxy] : agents)
            gone.push_back(proxy);
        for (const auto &[request, wanted] : requests)
            gone.push_back(wanted.proxy);
        for (XMLProxyAgent *const proxy : aliases)
            gone.push_back(proxy);
        agents.clear();
        requests.clear();
        aliases.clear();
        offers.clear();
        listed.clear();
        travelled.clear();
        rejected.clear();
        violations = 0;
        int lost = lostPackets;
        for (XMLProxyAgent *const proxy : gone) {
            proxy->gone = true;
            lost += static_cast<int>(proxy->held.size());
        }
        const bool wasOverloaded = std::exchange(isOverloaded, false);
        owner.counted.lost += lost;
        owner.later([gateway = &owner, peer = text, reason, lost, gone, wasOverloaded] {
            const QPointer<XMLGateway> alive(gateway);
            gateway->removeProxies(gone);
            if (alive && wasOverloaded)
                Q_EMIT gateway->overloaded(peer, false);
            if (alive && lost > 0)
                Q_EMIT gateway->packetsLost(peer, lost);
            if (alive)
                Q_EMIT gateway->peerLeft(peer, reason);
        });
    }

    void removeProxy(int remoteID)
    {
        rejected.erase(remoteID);
        std::vector<XMLProxyAgent *> gone;
        const auto found = agents.find(remoteID);
        if (found != agents.end()) {
            gone.push_back(found->second);
            agents.erase(found);
        }
        for (auto alias = aliases.begin(); alias != aliases.end();) {
            if ((*alias)->remoteID() == remoteID) {
                gone.push_back(*alias);
                alias = aliases.erase(alias);
            } else {
                ++alias;
            }
        }
        for (XMLProxyAgent *const proxy : gone)
            proxy->gone = true;
        owner.later([gateway = &owner, gone] { gateway->removeProxies(gone); });
    }

    void failRequest(quint32 request)
    {
        const auto found = requests.find(request);
        if (found == requests.end())
            return;
        XMLProxyAgent *const proxy = found->second.proxy;
        requests.erase(found);
        proxy->gone = true;
        const int lost = static_cast<int>(proxy->held.size());
        owner.counted.lost += lost;
        owner.later([gateway = &owner, peer = text, lost, proxy] {
            const QPointer<XMLGateway> alive(gateway);
            gateway->removeProxies({proxy});
            if (alive && lost > 0)
                Q_EMIT gateway->packetsLost(peer, lost);
        });
    }

    XMLGateway &owner;
    const QByteArray name;
    const QString text;
    std::map<int, XMLProxyAgent *> agents; // by remote id
    std::vector<XMLProxyAgent *> aliases; // asked for, and stand for an agent that has a proxy
    struct Wanted {
        XMLProxyAgent *proxy;
        qint64 until;
    };
    std::map<quint32, Wanted> requests;
    std::set<int> offers;
    std::set<int> listed; // local agents that the peer was told of
    std::set<int> travelled; // others that have sent it something
    std::set<int> rejected; // remote agents that the import filter keeps out
    int violations = 0;
    bool isOverloaded = false;
};

/**
 * The packet that the gateway sends to itself behind those of peers. It keeps equal ones apart, and where it is deleted
 * the router has delivered what was in front of it.
 */
class Q_DECL_HIDDEN XMLGateway::Marker : public XMLPacket
{
public:
    // cppcheck-suppress passedByValue ; it is moved
    Marker(XMLGateway *gateway, std::map<QByteArray, std::pair<quint64, quint64>> delivered)
        : owner(gateway), numbers(std::move(delivered))
    {
        setSourceAgentID(gateway->getAgentID());
        setDestinationAgentID(gateway->getAgentID());
    }

    ~Marker() override
    {
        if (owner)
            owner->setDelivered(numbers);
    }

    using XMLPacket::operator=;

private:
    const QPointer<XMLGateway> owner;
    const std::map<QByteArray, std::pair<quint64, quint64>> numbers;
};

XMLGateway::XMLGateway(XMLRouter *xmlRouter, std::unique_ptr<XMLTransport> xmlTransport, const QString &name,
                       QObject *parent)
    : QObject(parent), XMLAgent(NO_AGENT_TYPE), ownRouter(xmlRouter), transport(std::move(xmlTransport)),
      ownName(name.toUtf8()), nameIsNew(name.isEmpty()), standing(Starting), sessions(0),
      largestPacket(DEFAULT_LARGEST_PACKET), broker(nullptr), lastRequest(0), timer(0), inHurry(false), askedAt(0),
      lastTick(0), lastAnnouncement(0), announcePause(firstPause), lastScan(0), leavingUntil(0)
{
    removalNotificationsWanted = true;
    clock.start();
    QRandomGenerator *const random = QRandomGenerator::system();
    if (nameIsNew)
        ownName = "zq-" + QByteArray::number(random->generate64(), 16);
    sessions = quint64(random->bounded(1u, 0xffffffffu)) << 32;
    if (ownRouter)
        ownRouter->add(this);
    if (!isGoodName(ownName)) {
        standing = NameLost;
        complain(QStringLiteral("a name on the bus is 1 to 64 ASCII letters, digits, - and _, but not all"));
        return;
    }
    connect(transport.get(), &XMLTransport::connectedChanged, this, &XMLGateway::takeConnection);
    connect(transport.get(), &XMLTransport::arrived, this, &XMLGateway::takeArrivals);
    connect(transport.get(), &XMLTransport::failed, this, &XMLGateway::complain);
    connect(transport.get(), &XMLTransport::writable, this, [this] {
        for (const auto &[peerName, peer] : peersByName)
            peer->sendMore(now());
    });
    transport->join(ownName);
    timer = startTimer(calmInterval);
}

XMLGateway::~XMLGateway()
{
    // Agents that are told of the removals may destroy the parent, which is not to destroy this again.
    setParent(nullptr);
    disconnect(transport.get(), nullptr, this, nullptr);
    actions.clear();
    for (const auto &[peerName, peer] : peersByName)
        peer->close();
    peersByName.clear();
    transport.reset();
    std::vector<XMLProxyAgent *> left;
    for (const auto &[id, proxy] : proxies)
        left.push_back(proxy);
    removeProxies(left);
    if (ownRouter)
        ownRouter->remove(this);
}

bool XMLGateway::isName(const QString &name)
{
    return isGoodName(name.toUtf8());
}

QString XMLGateway::name() const
{
    return QString::fromUtf8(ownName);
}

bool XMLGateway::isJoined() const
{
    return standing == Joined;
}

QStringList XMLGateway::peers() const
{
    QStringList names;
    for (const auto &[peerName, peer] : peersByName) {
        if (peer->state() == GateSession::Open)
            names << peer->text;
    }
    return names;
}

QString XMLGateway::peerOf(int id) const
{
    const auto found = proxies.find(id);
    return found == proxies.end() ? QString() : found->second->peer();
}

int XMLGateway::waitingPackets() const
{
    int waiting = 0;
    for (const auto &[peerName, peer] : peersByName)
        waiting += peer->waitingPackets();
    return waiting;
}

XMLGateway::Counts XMLGateway::counts() const
{
    return counted;
}

void XMLGateway::setImportFilter(const Filter &filter)
{
    importFilter = filter;
}

void XMLGateway::setExportFilter(const Filter &filter)
{
    exportFilter = filter;
}

void XMLGateway::setLargestPacket(int bytes)
{
    largestPacket = std::max(bytes, 1);
}

qint64 XMLGateway::now() const
{
    return clock.elapsed();
}

bool XMLGateway::routerIsUp() const
{
    return ownRouter && ownRouter->contains(XMLRouter::getXMLCommServerID());
}

bool XMLGateway::isProxy(int id) const
{
    return ProxyIDs::of(ownRouter).ids.count(id) > 0;
}

bool XMLGateway::hasExports() const
{
    return !exported.empty() || !exportedTypes.empty() || !offeredTypes.empty();
}

XMLGateway::Peer *XMLGateway::findPeer(const QByteArray &name) const
{
    const auto found = peersByName.find(name);
    return found == peersByName.end() ? nullptr : found->second.get();
}

XMLGateway::Peer *XMLGateway::makePeer(const QByteArray &name)
{
    if (Peer *const peer = findPeer(name))
        return peer;
    if (peersByName.size() >= mostPeers)
        return nullptr;
    return peersByName.emplace(name, std::make_unique<Peer>(*this, name)).first->second.get();
}

// What is told to agents and applications, which may do anything, the destruction of this included, waits until the
// gateway's own work is done.

void XMLGateway::later(std::function<void()> action)
{
    if (actions.empty())
        QMetaObject::invokeMethod(this, &XMLGateway::act, Qt::QueuedConnection);
    actions.push_back(std::move(action));
}

void XMLGateway::act()
{
    const QPointer<XMLGateway> alive(this);
    // Not those that come meanwhile: the event loop is to have its turn.
    for (std::size_t left = actions.size(); alive && left > 0 && !actions.empty(); --left) {
        const std::function<void()> action = std::move(actions.front());
        actions.pop_front();
        action();
    }
    if (alive && !actions.empty())
        QMetaObject::invokeMethod(this, &XMLGateway::act, Qt::QueuedConnection);
}

void XMLGateway::complain(const QString &line)
{
    const auto told = complaints.find(line);
    if (told != complaints.end() && now() - told->second < ignoreTime)
        return;
    if (complaints.size() >= mostComplaints)
        complaints.clear();
    complaints[line] = now();
    later([this, line] { Q_EMIT problem(line); });
}

// Joining

void XMLGateway::takeConnection(bool connected)
{
    announcePause = firstPause;
    for (const auto &[peerName, peer] : peersByName) {
        if (connected)
            peer->linkIsUp(now());
    }
    if (connected && standing == Starting && nameIsNew) {
        finishJoining();
    } else if (connected && (standing == Starting || standing == Asking)) {
        standing = Asking;
        askedAt = now();
        announce(GateFrame::Asks);
        hurry();
    } else if (connected && standing == Joined) {
        announce(0);
    }
    if (standing != NameLost)
        later([this, connected] { Q_EMIT connectedChanged(connected); });
}

void XMLGateway::finishJoining()
{
    standing = Joined;
    announce(0);
    later([this] { Q_EMIT joined(); });
}

/** Tells everybody, or with other flags those of the same name, that this is here. */
void XMLGateway::announce(int flags)
{
    GateFrame frame;
    frame.kind = GateFrame::Announce;
    frame.from = sessions & ~quint64(0xffffffffu);
    frame.body = QByteArray(1, static_cast<char>(flags | (hasExports() ? GateFrame::Exports : 0)));
    transport->send(flags ? ownName : QByteArray("all"), frame.toBytes(), false);
    lastAnnouncement = now();
}

void XMLGateway::takeTwin(const GateFrame &frame)
{
    const quint32 epoch = gateEpochOf(sessions);
    const quint32 other = gateEpochOf(frame.from);
    if (frame.kind != GateFrame::Announce || epoch == other || standing == Starting)
        return;
    const quint8 flags = frame.flags();
    if (flags & GateFrame::Asks) {
        if (standing == Joined || epoch < other)
            announce(GateFrame::Taken);
        else
            giveUpName();
    } else if (standing == Asking || (!(flags & GateFrame::Taken) && epoch > other)) {
        giveUpName(); // two may have begun apart, while their servers were
    }
}

void XMLGateway::giveUpName()
{
    standing = NameLost;
    for (const auto &[peerName, peer] : peersByName)
        peer->abort(QStringLiteral("the name on the bus is somebody else's"));
    later([this] { Q_EMIT nameTaken(); });
}

void XMLGateway::takeAnnouncement(const QByteArray &sender, const GateFrame &frame)
{
    if (!hasExports() && !(frame.flags() & GateFrame::Exports))
        return;
    Peer *const peer = makePeer(sender);
    if (!peer)
        return;
    if (peer->state() == GateSession::Closed)
        peer->open(now());
    else if (peer->state() == GateSession::Open && peer->theirEpoch() != gateEpochOf(frame.from))
        peer->invite(now());
    hurry();
}

// What comes

void XMLGateway::takeArrivals()
{
    const qint64 begin = now();
    XMLTransport::Arrival arrival;
    bool more = true;
    while (more && now() - begin < slice) {
        more = transport->take(arrival);
        if (more)
            takeArrival(arrival);
    }
    endSlice();
    if (more)
        QMetaObject::invokeMethod(this, &XMLGateway::takeArrivals, Qt::QueuedConnection);
}

void XMLGateway::takeArrival(const XMLTransport::Arrival &arrival)
{
    if (standing == NameLost || !isGoodName(arrival.sender))
        return;
    if (arrival.absent) {
        if (Peer *const peer = findPeer(arrival.sender))
            peer->takeAbsence(now());
        return;
    }
    const auto suspect = suspects.find(arrival.sender);
    const bool ignored = suspect != suspects.end() && suspect->second.ignoredUntil > now();
    Peer *peer = findPeer(arrival.sender);
    if (ignored && (!peer || peer->state() != GateSession::Open))
        return;
    GateFrame frame;
    int version = 0;
    const GateFrame::Result result = GateFrame::read(arrival.frame, frame, &version);
    if (result == GateFrame::OtherVersion)
        return complain(QStringLiteral("%1 speaks version %2 of the bus, not %3")
                            .arg(QString::fromUtf8(arrival.sender))
                            .arg(version)
                            .arg(GateFrame::version));
    if (result == GateFrame::Unreadable)
        return takeUnreadable(arrival.sender);
    if (arrival.sender == ownName)
        return takeTwin(frame);
    if (standing != Joined)
        return;
    if (frame.kind == GateFrame::Announce)
        return takeAnnouncement(arrival.sender, frame);
    if (frame.kind == GateFrame::Close && (!peer || peer->state() == GateSession::Closed))
        return;
    if (!peer)
        peer = makePeer(arrival.sender);
    if (!peer)
        return;
    if (peer->state() == GateSession::Closed)
        peer->open(now());
    peer->take(frame, now());
    hurry();
}

/**
 * On purpose not held against an open session, whose frames show that they are the peer's: on a bus whose server does
 * not vouch for names anybody may send rubbish under any.
 */
void XMLGateway::takeUnreadable(const QByteArray &sender)
{
    ++counted.unreadable;
    if (suspects.size() >= mostSuspects && suspects.count(sender) == 0)
        suspects.clear();
    Suspect &suspect = suspects[sender];
    if (++suspect.count < unreadableAllowed)
        return;
    suspect.count = 0;
    suspect.ignoredUntil = now() + ignoreTime;
    complain(QStringLiteral("%1 sends what cannot be read").arg(QString::fromUtf8(sender)));
}

void XMLGateway::takeAgentPacket(Peer &peer, const QByteArray &wire, quint64 number)
{
    XMLWire::Limits limits;
    limits.bytes = largestPacket;
    limits.nodes = 1 << 20;
    limits.attributes = 1 << 12;
    std::unique_ptr<XMLPacket> packet = XMLWire::toPacket(wire, nullptr, limits);
    if (lastPeer == peer.name && lastWire == wire)
        endSlice(); // a repeat to the router, but not to the peer's
    unmarked[peer.name] = {peer.session(), number};
    if (!packet)
        return peer.unreadable();
    const int source = routerIsUp() ? sourceOf(peer, packet->getSourceAgentID()) : 0;
    const int destination = packet->getDestinationAgentID();
    if (source == 0 || !ownRouter->contains(destination)
        || (peer.listed.count(destination) == 0 && peer.travelled.count(destination) == 0)) {
        ++counted.undeliverable;
        return;
    }
    packet->setSourceAgentID(source);
    lastPeer = peer.name;
    lastWire = wire;
    ++counted.received;
    ownRouter->send(packet.release());
}

/** Sends the marker behind the packets that were handed to the router last. */
void XMLGateway::endSlice()
{
    lastPeer.clear();
    lastWire.clear();
    if (!unmarked.empty() && routerIsUp())
        ownRouter->send(new Marker(this, std::exchange(unmarked, {})));
}

void XMLGateway::setDelivered(const std::map<QByteArray, std::pair<quint64, quint64>> &numbers)
{
    for (const auto &[peerName, number] : numbers) {
        Peer *const peer = findPeer(peerName);
        if (peer && peer->state() == GateSession::Open && peer->session() == number.first)
            peer->setDelivered(number.second, now());
    }
}

/** Returns the local id of a sender at the peer; 0 when it is not let in. */
int XMLGateway::sourceOf(Peer &peer, int remoteID)
{
    const auto found = peer.agents.find(remoteID);
    if (found != peer.agents.end())
        return found->second->getAgentID();
    if (peer.rejected.count(remoteID) > 0 || peer.agents.size() >= mostAgents
        || (importFilter && !importFilter(peer.text, NO_AGENT_TYPE)))
        return 0;
    XMLProxyAgent *const proxy = makeProxy(peer.name, remoteID, NO_AGENT_TYPE, false);
    peer.agents[remoteID] = proxy;
    return proxy->getAgentID();
}

void XMLGateway::addProxy(Peer &peer, int remoteID, int type, quint32 request)
{
    if (!routerIsUp())
        return;
    const auto wanted = peer.requests.find(request);
    if (wanted != peer.requests.end()) {
        XMLProxyAgent *const proxy = wanted->second.proxy;
        peer.requests.erase(wanted);
        proxy->pending = false;
        proxy->agentThere = remoteID;
        if (!peer.agents.emplace(remoteID, proxy).second)
            peer.aliases.push_back(proxy);
        for (std::unique_ptr<XMLPacket> &packet : std::exchange(proxy->held, {})) {
            --counted.sent;
            forward(*proxy, std::move(packet));
        }
        return;
    }
    const auto known = peer.agents.find(remoteID);
    const bool isKnown = known != peer.agents.end();
    if (isKnown && (type == NO_AGENT_TYPE || known->second->getAgentType() != NO_AGENT_TYPE))
        return;
    if (peer.agents.size() >= mostAgents)
        return peer.unreadable();
    if (importFilter && !importFilter(peer.text, type)) {
        if (peer.rejected.size() < mostAgents)
            peer.rejected.insert(remoteID);
        return;
    }
    if (isKnown)
        peer.aliases.push_back(known->second); // it has sent something before it was exported
    XMLProxyAgent *const proxy = makeProxy(peer.name, remoteID, type, false);
    peer.agents[remoteID] = proxy;
    later([this, id = proxy->getAgentID(), type, text = peer.text] {
        if (proxies.count(id) > 0)
            Q_EMIT proxyAdded(id, type, text);
    });
}

XMLProxyAgent *XMLGateway::makeProxy(const QByteArray &peer, int remoteID, int type, bool pending)
{
    std::unique_ptr<XMLProxyAgent> proxy(new XMLProxyAgent(this, peer, remoteID, type, pending));
    ownRouter->add(proxy.get());
    proxies[proxy->getAgentID()] = proxy.get();
    ProxyIDs::of(ownRouter).ids.insert(proxy->getAgentID());
    return proxy.release();
}

/** Takes the proxies over. */
void XMLGateway::removeProxies(const std::vector<XMLProxyAgent *> &gone)
{
    const QPointer<XMLRouter> from(ownRouter);
    std::vector<std::unique_ptr<XMLProxyAgent>> owned;
    for (XMLProxyAgent *const proxy : gone) {
        if (proxies.erase(proxy->getAgentID()) == 0)
            continue;
        proxy->ownGateway.clear();
        owned.emplace_back(proxy);
        if (from)
            ProxyIDs::of(from).ids.erase(proxy->getAgentID());
    }
    for (const auto &proxy : owned) {
        if (from)
            from->remove(proxy.get());
    }
}

// What goes

void XMLGateway::refuse(XMLProxyAgent &proxy, const QString &reason)
{
    ++counted.refused;
    later([this, peer = proxy.peer(), reason] { Q_EMIT packetRefused(peer, reason); });
}

void XMLGateway::forward(XMLProxyAgent &proxy, std::unique_ptr<XMLPacket> packet)
{
    const int source = packet->getSourceAgentID();
    Peer *const peer = findPeer(proxy.peerName);
    if (proxy.gone || !peer || peer->state() != GateSession::Open)
        return refuse(proxy, QStringLiteral("the peer is gone"));
    if (leavingUntil != 0)
        return refuse(proxy, QStringLiteral("this gateway leaves"));
    if (ownRouter && isProxy(source))
        return refuse(proxy, QStringLiteral("it comes from another process"));
    if (proxy.pending) {
        if (proxy.held.size() >= mostHeld)
            return refuse(proxy, QStringLiteral("too much waits"));
        ++counted.sent;
        return proxy.held.push_back(std::move(packet));
    }
    if (!exportedTypes.empty() && peer->listed.count(source) + peer->travelled.count(source) == 0)
        scanTypes(); // what it is, before its first packet
    packet->setDestinationAgentID(proxy.agentThere);
    const QByteArray wire = XMLWire::toWire(*packet);
    if (wire.isEmpty())
        return refuse(proxy, QStringLiteral("it has no wire form"));
    if (wire.size() >= static_cast<qint64>(peer->largestMessage()))
        return refuse(
            proxy,
            QStringLiteral("it has %1 bytes, and %2 are allowed").arg(wire.size()).arg(peer->largestMessage() - 1));
    QByteArray message;
    message.reserve(wire.size() + 1);
    message.append(PacketMessage).append(wire);
    if (!peer->queue(message, true, now())) {
        if (peer->state() == GateSession::Open && !std::exchange(peer->isOverloaded, true))
            later([this, text = peer->text] { Q_EMIT overloaded(text, true); });
        return refuse(proxy, QStringLiteral("too much waits"));
    }
    ++counted.sent;
    hurry();
    if (peer->listed.count(source) > 0)
        return;
    if (ownRouter && ownRouter->contains(source))
        peer->travelled.insert(source);
    else
        peer->send(makeMessage(RemoveMessage, {toWord(source)}));
}

// Agents here

void XMLGateway::receive(XMLPacket *packet)
{
    delete packet;
}

void XMLGateway::agentRemoved(int id)
{
    if (!routerIsUp()) {
        standing = NameLost;
        for (const auto &[peerName, peer] : peersByName)
            peer->abort(QStringLiteral("this router is gone"));
        return;
    }
    exported.erase(id);
    for (const auto &[peerName, peer] : peersByName) {
        if (peer->listed.erase(id) + peer->travelled.erase(id) > 0)
            peer->send(makeMessage(RemoveMessage, {toWord(id)}));
    }
}

void XMLGateway::exportAgent(int id)
{
    if (routerIsUp() && ownRouter->contains(id) && !isProxy(id))
        list(id, ownRouter->getAgentType(id));
}

void XMLGateway::exportAgentsOfType(int type)
{
    const bool isFirst = !hasExports();
    exportedTypes.insert(type);
    scanTypes();
    if (isFirst && isJoined())
        announce(0);
}

void XMLGateway::offerAgentsOfType(int type)
{
    const bool isFirst = !hasExports();
    if (!offeredTypes.insert(type).second)
        return;
    for (const auto &[peerName, peer] : peersByName)
        peer->send(makeMessage(OfferMessage, {toWord(type)}));
    if (isFirst && isJoined())
        announce(0);
}

void XMLGateway::scanTypes()
{
    lastScan = now();
    if (!routerIsUp())
        return;
    for (const int type : exportedTypes) {
        for (const int id : ownRouter->findAgentsOfType(type)) {
            if (exported.count(id) == 0 && !isProxy(id))
                list(id, type);
        }
    }
}

void XMLGateway::list(int id, int type)
{
    const bool isFirst = !hasExports();
    if (!exported.emplace(id, type).second)
        return;
    for (const auto &[peerName, peer] : peersByName)
        listTo(*peer, id, type);
    if (isFirst && isJoined())
        announce(0);
}

void XMLGateway::listTo(Peer &peer, int id, int type, quint32 request)
{
    if (peer.state() != GateSession::Open || (exportFilter && !exportFilter(peer.text, type)))
        return;
    const bool isNew = peer.listed.insert(id).second;
    peer.travelled.erase(id);
    if (isNew || request != 0)
        peer.send(makeMessage(AddMessage, {request, toWord(id), toWord(type)}));
}

// Agents on demand

int XMLGateway::requestAgent(int type)
{
    if (!routerIsUp() || leavingUntil != 0)
        return 0;
    for (const auto &[peerName, peer] : peersByName) {
        if (peer->offers.count(type) == 0)
            continue;
        XMLProxyAgent *const proxy = makeProxy(peerName, 0, type, true);
        const quint32 request = ++lastRequest;
        peer->requests[request] = {proxy, now() + supplyTime};
        peer->send(makeMessage(WantMessage, {request, toWord(type)}));
        return proxy->getAgentID();
    }
    return 0;
}

void XMLGateway::supply(const QByteArray &peerName, quint64 session, quint32 request, int type)
{
    int id = 0;
    const QPointer<XMLGateway> alive(this);
    if (routerIsUp() && offeredTypes.count(type) > 0) {
        for (const int each : ownRouter->findAgentsOfType(type)) {
            if (id == 0 && !isProxy(each))
                id = each;
        }
        if (id == 0)
            id = broker ? broker->createLocalAgent(type) : ownRouter->supplyAgentOfType(type);
    }
    if (!alive)
        return;
    if (id != 0 && (!routerIsUp() || isProxy(id) || !ownRouter->contains(id)))
        id = 0;
    Peer *const peer = findPeer(peerName);
    if (!peer || peer->state() != GateSession::Open || peer->session() != session)
        return;
    if (id != 0)
        listTo(*peer, id, type, request);
    if (id == 0 || peer->listed.count(id) == 0)
        return peer->send(makeMessage(FailMessage, {request}));
    list(id, type);
}

// Time

void XMLGateway::hurry()
{
    if (std::exchange(inHurry, true) || timer == 0)
        return;
    killTimer(timer);
    timer = startTimer(hurriedInterval);
}

void XMLGateway::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == timer)
        tick();
}

void XMLGateway::tick()
{
    const qint64 time = now();
    const bool slept = time - lastTick > ownSilence;
    lastTick = time;
    if (standing == Asking && transport->isConnected() && time - askedAt >= askTime)
        finishJoining();
    if (leavingUntil > 0 && (waitingPackets() == 0 || time >= leavingUntil)) {
        leavingUntil = -1;
        later([this] { Q_EMIT left(); });
    }
    for (const auto &[peerName, peer] : peersByName) {
        while (!peer->requests.empty() && peer->requests.begin()->second.until <= time)
            peer->failRequest(peer->requests.begin()->first);
    }
    if (!transport->isConnected())
        return;
    if (standing == Joined && time - lastAnnouncement >= announcePause
        && (hasExports() || announcePause < longestPause)) {
        announce(0);
        announcePause = std::min(2 * announcePause, longestPause);
    }
    if (!exportedTypes.empty() && time - lastScan >= scanInterval)
        scanTypes();
    bool busy = standing == Asking || leavingUntil > 0;
    for (auto entry = peersByName.begin(); entry != peersByName.end();) {
        Peer &peer = *entry->second;
        if (slept)
            peer.linkIsUp(time);
        peer.tick(time);
        if (peer.isOverloaded && peer.isRelieved()) {
            peer.isOverloaded = false;
            later([this, text = peer.text] { Q_EMIT overloaded(text, false); });
        }
        busy = busy || peer.isBusy() || !peer.requests.empty();
        entry = peer.state() == GateSession::Closed ? peersByName.erase(entry) : std::next(entry);
    }
    if (busy != inHurry) {
        inHurry = busy;
        killTimer(timer);
        timer = startTimer(busy ? hurriedInterval : calmInterval);
    }
}

void XMLGateway::leave(int timeout)
{
    if (leavingUntil == 0)
        leavingUntil = now() + std::max(timeout, 1);
    hurry();
}
