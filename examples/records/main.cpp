// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// A record travels as XML: one agent sends a job, the other shows its fields and makes a record of them again.

#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>

#include <recordlib/zqapp.h>
#include <standin/zqrecords.h>

#include <QCoreApplication>

#include <cstdio>
#include <memory>

namespace {

class Archive : public XMLAgent
{
public:
    using XMLAgent::XMLAgent;

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> received(packet);
        std::list<QDomNode> nodes;
        received->getNodesOfType(XMLObject::XML_PACKETABLE, nodes);
        XMLPacketable job;
        job.setNode(nodes.front().toElement());
        showFields(job.getNode().firstChildElement(XMLPacketable::ITEM));

        const std::unique_ptr<ZQPacketable> record(job.getData());
        if (!record)
            qFatal("the record library does not accept the job");
        const auto *values = static_cast<const ZQJOBRECORD *>(record->payload);
        std::printf("record: %s, page %d, scale %g, %u bytes of digest\n", values->name, values->page,
                    static_cast<double>(values->scale), values->digest.count);
        QCoreApplication::quit();
    }

private:
    static void showFields(const QDomElement &item)
    {
        for (QDomElement field = item.firstChildElement(); !field.isNull(); field = field.nextSiblingElement()) {
            if (field.hasAttribute(XMLPacketable::VALUE)) {
                std::printf("field %s: %s\n", qUtf8Printable(field.tagName()),
                            qUtf8Printable(XMLObject::getAttribute(field, XMLPacketable::VALUE)));
            }
        }
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Archive sender(100), archive(100); // outlive the router
    XMLRouter router(nullptr);
    router.add(&sender);
    router.add(&archive);

    auto *job = ZQNew<ZQJOBRECORD>(JOB_TYPE);
    ZQSetText(job->name, "Plakat Süd", 11);
    job->page = 7;
    job->scale = 0.5F;
    static_cast<unsigned char *>(ZQResizeArray(job->digest, 1, 1))[0] = 0xa3;
    ZQJOB_CC record;
    record.setData(job); // takes the job over

    XMLPacket *packet = sender.getXMLPacket(archive.getAgentID());
    packet->append(record, false);
    router.send(packet);
    return QCoreApplication::exec();
}
