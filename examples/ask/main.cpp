// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// A request, and every way in which it can end.

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlendpoint.h>
#include <zqxmlkit/xmlrequester.h>

#include <QCoreApplication>
#include <QMetaEnum>

#include <cstdio>

namespace {

int open = 0;

void show(const char *what, XMLReply *reply)
{
    ++open;
    QObject::connect(reply, &XMLReply::finished, [what, reply] {
        std::printf("%s: %s\n", what, QMetaEnum::fromType<XMLReply::State>().valueToKey(reply->state()));
        for (const XMLRecord &record : reply->records())
            std::printf("  %s\n", qUtf8Printable(record.value("name").toString()));
        reply->deleteLater();
        if (--open == 0)
            QCoreApplication::quit();
    });
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    XMLRouter router(&server);
    XMLRequester requester(&router);
    XMLEndpoint silent(&router, 100);
    XMLEndpoint slow(&router, 101);
    requester.setAnswersLater(slow.getAgentID()); // but it does not
    XMLAction question(QStringLiteral("question"), 7, 0);

    show("outputs of the comm server", requester.requestOutputs());
    show("an agent that ignores it", requester.request(silent.getAgentID(), question));
    show("an id that no agent has", requester.request(77, question));
    XMLReply *const cancelled = requester.request(slow.getAgentID(), question);
    show("a request that is not wanted any more", cancelled);
    cancelled->cancel();
    show("an agent that takes too long", requester.request(slow.getAgentID(), question, 200));
    return QCoreApplication::exec();
}
