// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlpacket.h>

#include <map>

namespace {

/** A node of a packet, before there is a document. */
struct Node {
    QString name; ///< of an element, or the text of another node
    int part = -1; ///< which element of a new packet this is; none of them
    std::vector<Node> children = {};
    QDomNode::NodeType type = QDomNode::ElementNode;
    QString space = QString(); ///< null for none
    std::map<QString, QString> attributes = {}; ///< those with a prefix are in a namespace
};

const QStringList names{
    QStringLiteral("a"),    QStringLiteral("b"),    QStringLiteral("src"),  QStringLiteral("a q=\"1\""),
    QStringLiteral("a/"),   QStringLiteral("a>"),   QStringLiteral("<a"),   QStringLiteral("a\nb"),
    QStringLiteral("a><b"), QStringLiteral("body"), QStringLiteral("a=\""), QStringLiteral(""),
};
const QDomNode::NodeType others[] = {QDomNode::CommentNode, QDomNode::CDATASectionNode,
                                     QDomNode::ProcessingInstructionNode};
const QLatin1String prefix("x:");
const QStringList keys{
    XMLPacket::AGENT_ID,   QStringLiteral("size"),      QStringLiteral("value"), QStringLiteral("q"),
    QStringLiteral("r"),   QStringLiteral("s"),         QStringLiteral("x:r"),   QStringLiteral("x:value"),
    QStringLiteral("a q"), QStringLiteral("r=\"1\" s"),
};
const QStringList texts{
    QStringLiteral("t"),           QStringLiteral("u"),     QString(),
    QStringLiteral("\n  "),        QStringLiteral("\n   "), QStringLiteral(" "),
    QStringLiteral("tu"),          QStringLiteral("1"),     QStringLiteral("]]>"),
    QStringLiteral("--><a/><!--"),
};

/** Makes a packet, or one that is like it, from a seed. */
class Draft : public Mischief
{
public:
    explicit Draft(quint32 seed) : Mischief(seed), oddity(below(3))
    {
        for (int i = below(10); i > 0; --i)
            change();
    }

    /** Puts something in, takes something out, or writes the same otherwise. */
    void change()
    {
        Node *node = &root;
        while (!node->children.empty() && below(4))
            node = below(2) ? &node->children.back() : &node->children[std::size_t(below(int(node->children.size())))];
        std::vector<Node> &children = node->children;
        const bool isElement = node->type == QDomNode::ElementNode;
        switch (isElement ? below(13) : 0) {
        case 0:
            node->name = isElement ? nameOf(names) : oneOf(texts);
            break;
        case 1:
            isCommented = !isCommented;
            break;
        case 2:
            if (!children.empty())
                children.pop_back();
            break;
        case 3:
            node->attributes.erase(nameOf(keys));
            break;
        case 4:
            if (oddity)
                node->space = below(3) ? QString() : below(2) ? QStringLiteral("n") : QStringLiteral("");
            break;
        case 5:
        case 6:
            node->attributes[nameOf(keys)] = oneOf(texts);
            break;
        case 7:
            if (!node->attributes.empty()) {
                const QString value = node->attributes.begin()->second;
                node->attributes.erase(node->attributes.begin());
                node->attributes[nameOf(keys)] = value;
            }
            break;
        case 8:
            children.push_back({oneOf(texts), -1, {}, QDomNode::TextNode});
            break;
        case 9:
            children.push_back({oneOf(texts), -1, {}, oneOf(others)});
            break;
        case 10:
            if (!children.empty() && children.front().type == QDomNode::TextNode) {
                const QString text = children.front().name;
                children.front().name = text.mid(1);
                children.insert(children.begin(), Node{text.left(1), -1, {}, QDomNode::TextNode});
            }
            break;
        case 11:
            if (oddity && node->attributes.size() == 1) {
                const auto &[name, value] = *node->attributes.begin();
                node->name += QStringLiteral(" %1=\"%2\"").arg(name, value);
                node->attributes.clear();
            }
            break;
        default:
            children.insert(children.begin() + below(int(children.size()) + 1), Node{nameOf(names)});
        }
    }

    /**
     * Makes a new packet this one, with the attributes of each element in the order of their names or against it, and
     * returns its text.
     */
    QString write(XMLPacket &packet, bool inOrder) const
    {
        QDomElement element = packet.getBody().parentNode().toElement();
        const QDomElement header = element.firstChildElement();
        const std::vector<QDomElement> parts{header, header.firstChildElement(), header.lastChildElement(),
                                             packet.getBody()};
        QDomDocument document = element.ownerDocument();
        if (isCommented)
            document.appendChild(document.createComment(QStringLiteral("c")));
        for (const QDomElement &part : parts)
            part.parentNode().removeChild(part);
        fill(element, root, parts, inOrder);
        return XMLObject::toString(document);
    }

private:
    QString nameOf(const QStringList &all)
    {
        return all.at(below(oddity ? int(all.size()) : 3));
    }

    static void fill(QDomElement element, const Node &node, const std::vector<QDomElement> &parts, bool inOrder)
    {
        std::vector<std::pair<QString, QString>> attributes(node.attributes.begin(), node.attributes.end());
        if (!inOrder)
            std::reverse(attributes.begin(), attributes.end());
        for (const auto &[name, value] : attributes) {
            if (!name.startsWith(prefix))
                element.setAttribute(name, value);
        }
        // Written before, setAttribute() would take them for those of the same local name.
        for (const auto &[name, value] : attributes) {
            if (name.startsWith(prefix))
                element.setAttributeNS(QStringLiteral("n"), name, value);
        }
        for (const Node &child : node.children)
            element.appendChild(made(child, element.ownerDocument(), parts, inOrder));
    }

    static QDomNode made(const Node &node, QDomDocument document, const std::vector<QDomElement> &parts, bool inOrder)
    {
        switch (node.type) {
        case QDomNode::TextNode:
            return document.createTextNode(node.name);
        case QDomNode::CommentNode:
            return document.createComment(node.name);
        case QDomNode::CDATASectionNode:
            return document.createCDATASection(node.name);
        case QDomNode::ProcessingInstructionNode:
            return document.createProcessingInstruction(QStringLiteral("p"), node.name);
        default:
            break;
        }
        QDomElement element = node.part >= 0 ? parts[std::size_t(node.part)]
            : node.space.isNull()            ? document.createElement(names.front())
                                             : document.createElementNS(node.space, names.front());
        element.setTagName(node.name);
        fill(element, node, parts, inOrder);
        return element;
    }

    const int oddity; ///< 0: only plain names
    bool isCommented = false;
    Node root{QString(),
              -1,
              {{XMLPacket::HEADER, 0, {{XMLPacket::SOURCE, 1}, {XMLPacket::DESTINATION, 2}}}, {XMLPacket::BODY, 3}}};
};

} // namespace

/** Packets are equal when their texts are, whatever was done to them and in whatever order attributes were written. */
class tst_Equality : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void packetsAsTheirTexts();
    void partsThatAreNotPrinted();
};

void tst_Equality::packetsAsTheirTexts()
{
    int equal = 0;
    const quint32 first = QRandomGenerator::global()->generate();
    for (quint32 seed = first; seed - first < 2500; ++seed) {
        Draft draft(seed);
        Draft other = draft;
        for (int i = other.below(3); i > 0; --i)
            other.change();
        XMLPacket packets[3];
        other.write(packets[1], false);
        const QString printed[] = {draft.write(packets[0], true), other.write(packets[2], true)};
        equal += printed[0] == printed[1];
        const QString message = QStringLiteral("seed %1\n%2%3").arg(seed).arg(printed[0], printed[1]);
        QVERIFY2((packets[0] == packets[1]) == (printed[0] == printed[1]), qPrintable(message));
        QVERIFY2((packets[1] != packets[0]) == (printed[0] != printed[1]), qPrintable(message));
    }
    QVERIFY2(equal > 500, "the pairs must meet both cases");
    QVERIFY2(equal < 2000, "the pairs must meet both cases");
}

// The destination that a packet knows may not be the one that its text shows.
void tst_Equality::partsThatAreNotPrinted()
{
    int equal = 0;
    for (int row = 0; row < 6; ++row) {
        XMLPacket plain;
        plain.setDestinationAgentID(1);
        XMLPacket packet;
        QDomElement root = packet.getBody().parentNode().toElement();
        QDomElement header = root.firstChildElement();
        QDomElement destination = header.lastChildElement();
        if (row < 4) {
            packet.setDestinationAgentID(1);
            QDomElement replaced = row == 0 ? destination
                : row == 1                  ? header.firstChildElement()
                : row == 2                  ? header
                                            : root;
            replaced.parentNode().replaceChild(replaced.cloneNode(), replaced);
            packet.setDestinationAgentID(2);
        } else if (row == 4) {
            destination.setTagName(QStringLiteral("dst agent_id=\"1\""));
        } else {
            QDomElement(plain.getBody().previousSibling().lastChild().toElement()).setAttribute(QStringLiteral("b"), 0);
            destination.setAttribute(QStringLiteral("agent_id=\"1\" b"), 0);
        }
        QDomDocument documents[] = {packet.getBody().ownerDocument(), plain.getBody().ownerDocument()};
        const bool areEqual = XMLObject::toString(documents[0]) == XMLObject::toString(documents[1]);
        equal += areEqual;
        QCOMPARE(packet == plain, areEqual);
        QCOMPARE(plain == packet, areEqual);
    }
    QVERIFY(equal >= 4); // the order of attributes decides the last
}

ZQXML_TEST_MAIN(tst_Equality)
#include "tst_equality.moc"
