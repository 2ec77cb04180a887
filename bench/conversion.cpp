// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "peertrees.h"
#include "pieces.h"
#include "samples.h"

#include <tests/zqxml/plainconversion.h>

#include <map>

namespace {

using Object = std::unique_ptr<XMLPacketable>;

/** A record with what the forms of its conversion start from. */
class Sample
{
public:
    explicit Sample(int items)
        : text(sampleText(items)), record(text, SAMPLE_TYPE), tree(convertPlainly()), pieces(tree->getNodeConst()),
          written(plain::toPacket(tree->getNodeConst()))
    {
    }

    Object convert()
    {
        auto object = std::make_unique<XMLPacketable>();
        object->setData(record);
        return object;
    }

    Object convertPlainly()
    {
        return fill([](QDomElement &node, const char *bytes, unsigned int length) {
            plain::read(node, bytes, static_cast<int>(length));
        });
    }

    Object buildFloor()
    {
        return fill([this](QDomElement &node, const char *, unsigned int) { pieces.build(node); });
    }

    template <typename Tree>
    Tree convertForPeer() const
    {
        std::string bytes(text.constData(), static_cast<std::size_t>(text.size()));
        Tree built;
        PeerReader<Tree>(sampleTable(), bytes.data()).read(built.root());
        return built;
    }

    QString write() const
    {
        return XMLPacketable::toPacket(tree->getNodeConst());
    }

    QString writePlainly() const
    {
        return plain::toPacket(tree->getNodeConst());
    }

    QString writeFloor() const
    {
        QString floor;
        floor.reserve(written.size());
        pieces.write(floor, tree->getNodeConst());
        return floor;
    }

    // The names belong to the tree whoever made them, so the floor is charged with them where memory is counted.
    void countNames(benchmark::State &state) const
    {
        const std::set<QString> names = pieces.fieldNames();
        std::vector<QString> copies;
        copies.reserve(names.size());
        const Account account;
        for (const QString &name : names)
            copies.emplace_back(name.constData(), name.size());
        state.counters["names_allocations"] = account.allocations();
        state.counters["names_live_bytes"] = account.liveBytes();
    }

    void check()
    {
        const QString right = dump(tree->getNodeConst());
        require(dump(convert()->getNodeConst()) == right, "setData builds another tree than the plain form");
        require(dump(buildFloor()->getNodeConst()) == right, "the floor of setData builds another tree");
        const std::string rightChildren = dump(tree->getNodeConst().firstChild()).toStdString();
        require(convertForPeer<PugiTree>().dump() == "packetable(" + rightChildren + ')', "pugixml's tree is another");
        require(convertForPeer<LibXml2Tree>().dump() == "packetable(" + rightChildren + ')',
                "libxml2's tree is another");
        require(write() == written, "toPacket writes another text than the plain form");
        require(writeFloor() == written, "the floor of toPacket writes another text");
        require(written.count(QLatin1Char('\n')) > FIELDS_OF_ITEM, "the sample is not converted");
    }

private:
    // Every form takes the text from the record, the floor too: a block of its size changes how the heap serves the
    // small ones after it.
    template <typename Fill>
    Object fill(Fill fillNode)
    {
        auto object = std::make_unique<XMLPacketable>();
        object->setType(record.dataType);
        unsigned int length = 0;
        const std::unique_ptr<char, decltype(&std::free)> bytes(record.toPacket(length), &std::free);
        QDomElement node = object->getNode();
        fillNode(node, bytes.get(), length);
        return object;
    }

    QByteArray text;
    TextRecord record;
    Object tree;
    Pieces pieces;
    QString written;
};

Sample &sampleOf(int items)
{
    static std::map<int, std::unique_ptr<Sample>> samples;
    std::unique_ptr<Sample> &sample = samples[items];
    if (!sample) {
        sample = std::make_unique<Sample>(items);
        if (items <= 16) // the texts of larger trees are too large to compare
            sample->check();
    }
    return *sample;
}

template <typename Call>
void addForm(const char *form, int items, Call call)
{
    const auto prepare = [items, call](benchmark::State &state) {
        Sample &sample = sampleOf(items);
        sample.countNames(state);
        return [&sample, call] { return call(sample); };
    };
    add(form + std::string("/") + std::to_string(items), prepare, items > 16 ? Load::Large : Load::Small)
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

void addConversions()
{
    for (const int items : {1, 16, isCounting() ? 64 : 4096}) {
        addForm("setData/ours", items, [](Sample &sample) { return sample.convert(); });
        addForm("setData/floor", items, [](Sample &sample) { return sample.buildFloor(); });
        addForm("setData/plain", items, [](Sample &sample) { return sample.convertPlainly(); });
        addForm("setData/pugixml", items, [](Sample &sample) { return sample.convertForPeer<PugiTree>(); });
        addForm("setData/libxml2", items, [](Sample &sample) { return sample.convertForPeer<LibXml2Tree>(); });
        addForm("toPacket/ours", items, [](Sample &sample) { return sample.write(); });
        addForm("toPacket/floor", items, [](Sample &sample) { return sample.writeFloor(); });
        addForm("toPacket/plain", items, [](Sample &sample) { return sample.writePlainly(); });
    }
}
