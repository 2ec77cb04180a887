// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// All jobs, page by page: rows as they come, however many there are.

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    XMLRouter router(&server);
    XMLRecordServer recordServer(&server, &router, 100);
    XMLRequester requester(&router);

    XMLAction action(QStringLiteral("jobs"), XMLCommServer::REQUEST_JOBS, 0);
    action.setExcludePublications(false);
    XMLPages *const pages = requester.pages(recordServer.getAgentID(), action, 10);
    QObject::connect(pages, &XMLPages::pageReceived, [pages] {
        const std::unique_ptr<XMLPacket> page = pages->takePage(); // asks for the next one
        int jobs = 0;
        for (const XMLRecord &job : XMLRecords(*page)) {
            if (jobs++ == 0)
                std::printf("from job %d, %s, ", pages->position(), qUtf8Printable(job.name()));
        }
        std::printf("%d jobs; output %d of %d\n", jobs, pages->sourcesDone(), pages->sources());
    });
    QObject::connect(pages, &XMLPages::finished, [pages] {
        std::printf("%s\n", pages->state() == XMLPages::Answered ? "that was all" : "broken off");
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}
