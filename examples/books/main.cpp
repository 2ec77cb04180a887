// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// The road of one request: an agent asks the comm server agent for the books of two publications, the record library
// answers from its sample, and the books come back as XML.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>

#include <standin/zqstandin.h>

#include <QCoreApplication>

#include <cstdio>
#include <memory>

namespace {

constexpr int READER = 100;

class Reader : public XMLAgent
{
public:
    Reader() : XMLAgent(READER) { }

    void askForBooks(const QList<ZQKEY_ELEMENT *> &publications)
    {
        XMLAction request(QStringLiteral("books"), XMLCommServer::REQUEST_BOOKS, getAgentID());
        request.setZQKEYList(publications);
        XMLPacket *packet = getXMLPacket(XMLRouter::getXMLCommServerID());
        packet->append(request);
        router->send(packet);
    }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> reply(packet);
        std::list<QDomNode> books;
        std::printf("%d books\n", reply->getNodesOfType(XMLObject::XML_PACKETABLE, books));
        for (const QDomNode &node : books) {
            XMLPacketable book;
            book.setNode(node.toElement());
            std::printf("%s\n", qUtf8Printable(book.getName()));
        }
        QCoreApplication::quit();
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QString error;
    ZQCONNECTION *connection = ZQOpenSampleStore(&error);
    if (!connection) {
        std::fprintf(stderr, "books: %s\n", qUtf8Printable(error));
        return 1;
    }
    ZQCommServer server(connection); // takes the connection over
    Reader reader; // outlives the router
    XMLRouter router(&server); // makes the comm server agent
    router.add(&reader);

    ZQKEY_ELEMENT cookbook = {0x82f8634a, 0x20};
    ZQKEY_ELEMENT catalogue = {0xa851f637, 0x20};
    reader.askForBooks({&cookbook, &catalogue});
    return QCoreApplication::exec();
}
