// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_XMLGATEWAY_H
#define ZQXMLGATE_XMLGATEWAY_H

#include <zqxml/xmlagent.h>
#include <zqxmlgate/xmltransport.h>

#include <QElapsedTimer>
#include <QPointer>
#include <QStringList>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>

class QTimer;
class XMLGatewayBroker;
class XMLPacket;
class XMLProxyAgent;
class XMLRouter;
struct GateFrame;

/**
 * Makes agents of other routers appear in its own, and its own in theirs. All gateways whose transports share a bus,
 * and of which one at least exports something, know each other.
 *
 * \code
 * XMLGateway gateway(&router, std::make_unique<XMLNatsTransport>(options), QStringLiteral("counter-1"));
 * gateway.exportAgentsOfType(SHOP);
 * \endcode
 * An agent that a peer exports is an XMLProxyAgent here, which XMLRouter::findAgentsOfType() finds like any other.
 * Nothing is exported by itself. A sender that is not exported gets a proxy too, of the type XMLAgent::NO_AGENT_TYPE,
 * so that it can be answered; it goes when the sender goes. Packets from a peer reach the agents that are exported to
 * it or have sent something to it, and no other.
 *
 * Between two live processes no packet is lost, none comes twice, and order is kept for each pair of agents, whatever
 * becomes of the connection meanwhile. What a peer takes with it that is gone is counted and told. Used on the router's
 * thread; nothing here waits. All signals come from the event loop.
 */
class ZQXMLGATE_EXPORT XMLGateway : public QObject, private XMLAgent
{
    Q_OBJECT

public:
    /** Says of a peer and an agent type whether agents may pass. */
    using Filter = std::function<bool(const QString &peer, int type)>;

    /** What went through since the start. */
    struct Counts {
        qint64 sent = 0; ///< packets taken for peers
        qint64 received = 0; ///< packets handed to the router
        qint64 refused = 0; ///< packets that were not taken, told by packetRefused()
        qint64 lost = 0; ///< packets told by packetsLost()
        qint64 undeliverable = 0; ///< packets of peers for agents that are gone or not theirs to ask
        qint64 unreadable = 0; ///< frames and messages of peers that could not be read
    };

    static constexpr int DEFAULT_LARGEST_PACKET = 16 * 1024 * 1024; ///< bytes in wire form

    /**
     * Joins the bus of \a transport, which is taken over, under \a name: 1 to 64 ASCII letters, digits, "-" and "_",
     * but not "all". An empty name stands for a new one. \a router is not taken over.
     */
    XMLGateway(XMLRouter *router, std::unique_ptr<XMLTransport> transport, const QString &name = QString(),
               QObject *parent = nullptr);

    /** Returns whether \a name may be a name on the bus. */
    static bool isName(const QString &name);

    /** Says goodbye to the peers and removes their proxies. What is not delivered by then may be lost. \sa leave() */
    ~XMLGateway() override;

    QString name() const; ///< Returns the name on the bus.
    bool isJoined() const; ///< Returns whether joined() was emitted and the name is still this gateway's.
    QStringList peers() const; ///< Returns the names of the peers with which a session is open.
    QString peerOf(int id) const; ///< Returns the peer whose agent the proxy \a id stands for; empty for no proxy.
    int waitingPackets() const; ///< Returns how many packets are on their way to peers.
    Counts counts() const; ///< Returns what went through.

    /** Shows the agent \a id to peers from now on; -1 is the comm server agent. No agent, or a proxy: ignored. */
    void exportAgent(int id);

    /** Shows all agents of type \a type to peers; those that come later within 200 ms. */
    void exportAgentsOfType(int type);

    /** Tells peers that XMLRouter::supplyAgentOfType(\a type) may be asked for here. What it gives is exported. */
    void offerAgentsOfType(int type);

    /** Sets which of the peers' agents get a proxy; packets of the others are dropped. All at first. */
    void setImportFilter(const Filter &filter);

    /** Sets which of the exported agents which peer is shown. All at first. Sessions that are open keep theirs. */
    void setExportFilter(const Filter &filter);

    /** Sets how many bytes a packet may have in wire form, either way. For peers that come later. */
    void setLargestPacket(int bytes);

    /** Takes no packets any more, and emits left() when all are delivered, or after \a timeout milliseconds. */
    void leave(int timeout = 1000);

Q_SIGNALS:
    void joined(); ///< The bus is reached and the name is this gateway's. Emitted once.
    void nameTaken(); ///< Somebody else has the name; the gateway has left the bus.
    void connectedChanged(bool connected); ///< The transport's connection is there, or is not any more.
    void peerJoined(const QString &peer); ///< A session is open; the peer's agents follow.
    void peerLeft(const QString &peer, const QString &reason); ///< A session has ended, its proxies are removed.
    void proxyAdded(int id, int type, const QString &peer); ///< An agent of a peer is registered under \a id.
    void packetsLost(const QString &peer, int count); ///< So many packets were on their way to a peer that is gone.
    void overloaded(const QString &peer, bool tooMuch); ///< Packets to a peer are refused, or are taken again.
    void packetRefused(const QString &peer, const QString &reason); ///< A packet was not taken.
    void problem(const QString &line); ///< The connection or a peer is in trouble; each is told once a minute.
    void left(); ///< leave() is done.

protected:
    void timerEvent(QTimerEvent *event) override; ///< Does what is due.

private:
    friend class XMLGatewayBroker;
    friend class XMLProxyAgent;
    class Peer;
    class Marker;
    struct Suspect {
        int count = 0;
        qint64 ignoredUntil = 0;
    };

    void receive(XMLPacket *packet) override;
    void agentRemoved(int id) override;

    void takeConnection(bool connected);
    void takeArrivals();
    void takeArrival(const XMLTransport::Arrival &arrival);
    void takeTwin(const GateFrame &frame);
    void takeAnnouncement(const QByteArray &sender, const GateFrame &frame);
    void takeUnreadable(const QByteArray &sender);
    void takeAgentPacket(Peer &peer, const QByteArray &wire, quint64 number);
    int sourceOf(Peer &peer, int remoteID);
    void addProxy(Peer &peer, int remoteID, int type, quint32 request);
    void supply(const QByteArray &peer, quint64 session, quint32 request, int type);
    int requestAgent(int type);
    XMLProxyAgent *makeProxy(const QByteArray &peer, int remoteID, int type, bool pending);
    void removeProxies(const std::vector<XMLProxyAgent *> &proxies);
    void forward(XMLProxyAgent &proxy, std::unique_ptr<XMLPacket> packet);
    void refuse(XMLProxyAgent &proxy, const QString &reason);
    void endSlice();
    void setDelivered(const std::map<QByteArray, std::pair<quint64, quint64>> &numbers);

    void tick();
    void scanTypes();
    void list(int id, int type);
    void listTo(Peer &peer, int id, int type, quint32 request = 0);
    void announce(int flags);
    bool hasExports() const;
    bool isProxy(int id) const;
    bool routerIsUp() const;
    Peer *findPeer(const QByteArray &name) const;
    Peer *makePeer(const QByteArray &name);
    void later(std::function<void()> action);
    void act();
    void complain(const QString &line);
    void hurry();
    void finishJoining();
    void giveUpName();
    qint64 now() const;

    QPointer<XMLRouter> ownRouter;
    std::unique_ptr<XMLTransport> transport;
    QByteArray ownName;
    bool nameIsNew; // nobody else can have it
    enum { Starting, Asking, Joined, NameLost } standing;
    quint64 sessions; // the last session's number; its upper half is the epoch
    int largestPacket;
    Filter importFilter;
    Filter exportFilter;
    XMLGatewayBroker *broker; // set and unset by itself

    std::map<QByteArray, std::unique_ptr<Peer>> peersByName;
    std::map<QByteArray, Suspect> suspects;
    std::map<QString, qint64> complaints; // when each was told
    std::map<int, int> exported; // types by id
    std::set<int> exportedTypes;
    std::set<int> offeredTypes;
    std::map<int, XMLProxyAgent *> proxies; // by local id
    quint32 lastRequest;
    Counts counted;

    // Packets of this turn of the event loop, to be acknowledged when the router has delivered them.
    std::map<QByteArray, std::pair<quint64, quint64>> unmarked; // sessions and numbers
    QByteArray lastWire;
    QByteArray lastPeer;

    std::deque<std::function<void()>> actions;
    QElapsedTimer clock;
    int timer;
    bool inHurry;
    qint64 askedAt;
    qint64 lastTick;
    qint64 lastAnnouncement;
    qint64 announcePause;
    qint64 lastScan;
    qint64 leavingUntil; // 0 before leave(), -1 when that is done
};

#endif
