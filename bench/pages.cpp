// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlpages.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <ctime>
#include <memory>
#include <vector>

namespace {

constexpr int PAGE_SIZE = 100;
constexpr unsigned int JOBS_IN_STORE = 2000;

/** Returns the processor time of this thread in seconds. */
double timeOfThread()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/** A store of jobs, and who gives and who wants them in pages. */
class Archive
{
public:
    Archive()
    {
        QString error;
        ZQSTORESIZE size;
        size.outputs = 5;
        size.jobs = JOBS_IN_STORE;
        const QString file = directory.filePath(QStringLiteral("jobs.db"));
        require(ZQCreateStore(file, size, nullptr, &error), "no store: " + error.toStdString());
        store = std::make_unique<ZQCommServer>(ZQOpenStore(file, &error));
        router = std::make_unique<XMLRouter>(store.get());
        server = std::make_unique<XMLRecordServer>(store.get(), router.get(), 100);
        requester = std::make_unique<XMLRequester>(router.get());
    }

    /** Takes all pages, and returns the longest turn of the event loop meanwhile. */
    double longestTurn()
    {
        XMLAction action(QString(), XMLCommServer::REQUEST_JOBS, 0);
        action.setExcludePublications(false);
        const std::unique_ptr<XMLPages> pages(requester->pages(server->getAgentID(), action, PAGE_SIZE));
        int received = 0;
        QObject::connect(pages.get(), &XMLPages::pageReceived, pages.get(), [&received, &pages] {
            pages->takePage();
            ++received;
        });
        double longest = 0;
        while (pages->state() == XMLMailbox::Waiting) {
            const double start = timeOfThread();
            QCoreApplication::processEvents();
            longest = std::max(longest, timeOfThread() - start);
        }
        require(pages->state() == XMLMailbox::Answered && received > 5, "the pages do not come");
        return longest;
    }

    /** Converts as many jobs as a page holds, and lets them go. */
    double convertPage()
    {
        XMLCommServer asker(store.get());
        ZQLIST_ELEMENT *outputs = asker.getDBList(OUTPUT_LIST_TYPE);
        ZQLIST_ELEMENT *jobs = asker.getZQJOBs(static_cast<const ZQDBLIST_ENTRY *>(outputs)->key);
        ZQPacketFreeList(&outputs, DBLIST_ENTRY_TYPE);
        std::vector<std::unique_ptr<ZQJOB_CC>> records;
        while (static_cast<int>(records.size()) < PAGE_SIZE) {
            ZQJOB *const job = static_cast<ZQJOB *>(jobs);
            require(job != nullptr, "an output has less jobs than a page");
            RemoveItemFromList(&jobs, job);
            ZQJOB_CC::trimLists(job);
            records.push_back(std::make_unique<ZQJOB_CC>());
            records.back()->setName(job->name);
            records.back()->setData(job);
        }
        ZQPacketFreeList(&jobs, JOB_TYPE);
        const double start = timeOfThread();
        auto packet = std::make_unique<XMLPacket>();
        for (const auto &record : records)
            packet->appendV(*record, false);
        packet.reset();
        return timeOfThread() - start;
    }

private:
    const QTemporaryDir directory;
    std::unique_ptr<ZQCommServer> store;
    std::unique_ptr<XMLRouter> router;
    std::unique_ptr<XMLRecordServer> server;
    std::unique_ptr<XMLRequester> requester;
};

template <typename Measure>
void addForm(const std::string &form, Measure measure)
{
    benchmark::RegisterBenchmark(("turn/" + form + '/' + std::to_string(PAGE_SIZE)).c_str(),
                                 [measure](benchmark::State &state) {
                                     Archive archive;
                                     for (auto _ : state)
                                         state.SetIterationTime(measure(archive));
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

void addPages()
{
    if (isCounting())
        return; // what is looked for is the longest of many
    addForm("ours", [](Archive &archive) { return archive.longestTurn(); });
    addForm("page", [](Archive &archive) { return archive.convertPage(); });
}
