// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLRECORDSERVER_H
#define ZQXMLKIT_XMLRECORDSERVER_H

#include <zqxml/xmlagent.h>
#include <zqxmlkit/zqxmlkit_export.h>

#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <deque>
#include <map>
#include <memory>

class XMLAction;
class XMLRecordCursor;
class XMLRouter;
class ZQCommServer;

/**
 * Answers the requests of XMLCommServer in pages, so that no answer is too large and the event loop never stands still.
 * An agent beside the comm server agent, on the same command server; the records of all pages together are those of the
 * comm server agent's one answer, in its order. \sa XMLRequester::pages(), which speaks what follows
 *
 * The first request is one to the comm server agent with a page size; it opens a cursor. Each page is asked for.
 * \code
 * <action type="1003"><page_size>100</page_size></action>      asks for the first page of all jobs
 * <action type="1010"><channel_id>1f</channel_id></action>     asks for the next page of cursor 1f
 * \endcode
 * A page is a packet with an action and up to that many "packetable" elements behind it.
 * \code
 * <action type="1011"><channel_id>1f</channel_id><pagenum>2</pagenum><index>100</index>
 *  <sources_done>3</sources_done><sources>40</sources></action>
 * \endcode
 * "channel_id" is the cursor, hexadecimal; "pagenum" counts pages from 1 and "index" the records before this page;
 * "sources" are the outputs or keys that the command server is asked for one after the other. The type says whether
 * more comes. The first page comes also where the comm server agent would not answer: it is empty then.
 *
 * A cursor ends with its last page, when its asker is removed, and when it was not asked for a while. It keeps plain
 * records of one source and what is left of those before; of publications one job each.
 */
class ZQXMLKIT_EXPORT XMLRecordServer : public QObject, public XMLAgent
{
    Q_OBJECT

public:
    /** The "type" of the actions beyond XMLCommServer::REQUEST_TYPE. */
    enum PAGE_TYPE : int {
        NEXT_PAGE = 1010, ///< asks for the next page of a cursor
        PAGE = 1011, ///< a page, and more comes
        LAST_PAGE = 1012, ///< the last page; the cursor has ended
        FAILED = 1013 ///< as LAST_PAGE, but the command server failed; also for a cursor that has ended before
    };

    static const QString PAGE_SIZE; ///< "page_size", the property with the records of a page, in decimal
    static const QString SOURCES_DONE; ///< "sources_done", the property with how many outputs or keys were asked
    static const QString SOURCES; ///< "sources", the property with how many there are

    static constexpr int DEFAULT_PAGE_SIZE = 100; ///< records of a page when the request does not say
    static constexpr int MAX_PAGE_SIZE = 1000; ///< a larger page size counts as this

    /**
     * Makes an agent of type \a type that asks \a commServer, and registers it with \a router. Neither is taken over;
     * with a null \a commServer nothing is found.
     */
    XMLRecordServer(ZQCommServer *commServer, XMLRouter *router, int type, QObject *parent = nullptr);
    ~XMLRecordServer() override; ///< Frees all records and unregisters the agent.

    /** Sets after how many milliseconds a cursor ends that is not asked for its next page; a minute at first. */
    void setPatience(int milliseconds);

    int openCursors() const; ///< Returns how many cursors are open.

    /** Opens a cursor, or notes that the next page is wanted; pages are made from the event loop, one a turn. */
    void receive(XMLPacket *packet) override;

    /** Ends the cursors of the agent \a id. */
    void agentRemoved(int id) override;

protected:
    void timerEvent(QTimerEvent *event) override; ///< Makes a page, or ends a cursor.

private:
    struct Session;

    void openCursor(int asker, const XMLAction &action);
    void wantPage(int asker, unsigned int cursor);
    void makeProgress();
    void sendPage(unsigned int id, Session &session);
    void sendFailure(int asker, unsigned int cursor);

    ZQCommServer *server;
    QPointer<XMLRouter> ownRouter;
    std::map<unsigned int, std::unique_ptr<Session>> sessions; // by cursor
    std::deque<unsigned int> wanted; // cursors whose page is wanted, in turn
    unsigned int lastCursor;
    int patience;
    QBasicTimer turn;
};

#endif
