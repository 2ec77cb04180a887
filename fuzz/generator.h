// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef FUZZ_GENERATOR_H
#define FUZZ_GENERATOR_H

#include <QByteArray>
#include <QList>
#include <QRandomGenerator>

/** Makes inputs as drivers.h describes them: the tables of the data types 1f and 20, and a text or a tree. */
class Generator
{
public:
    explicit Generator(quint32 seed) : random(seed) { }

    QByteArray textInput()
    {
        QByteArray input = table() + table() + (below(8) == 0 ? "" : "SI 1f\n");
        for (int lines = below(30); lines > 0; --lines)
            input += line() + pick({"\n", "\n", "\n", "\n\n", "\r\n", " \n", "\n \n", ""});
        return input;
    }

    QByteArray treeInput()
    {
        return table() + table() + "<I=d1f;" + children(4) + '>' + children(3);
    }

    int below(int limit)
    {
        return static_cast<int>(random.bounded(static_cast<quint32>(limit)));
    }

private:
    QByteArray pick(const QList<QByteArray> &choice)
    {
        return choice.at(below(static_cast<int>(choice.size())));
    }

    // Row numbers, types and sizes are all different from each other. Some tags differ in their high bits only.
    QByteArray table()
    {
        const int rows = below(3) == 0 ? 1 << below(5) : below(20);
        const int first = below(16);
        QByteArray bytes;
        for (int row = 0; row < rows; ++row) {
            bytes += static_cast<char>(64 + (below(50) == 0 ? below(64) : 1 + below(33)));
            bytes += static_cast<char>(row < 16 ? 64 + (first + row) % 16 : 128 + below(128));
            bytes += "01248"[below(5)];
        }
        return bytes + '\n';
    }

    QByteArray tag()
    {
        QByteArray hex = QByteArray::number(below(4) ? below(18) : below(9) << 24, 16);
        if (below(6) == 0)
            hex = hex.toUpper();
        return pick({"", "", "", "", "", "0", "00", "0x", "0X", "+"}) + hex;
    }

    QByteArray word()
    {
        return pick({"a",     "B7",       "10",           "ffffffff", "0",  "%1",       "%2b",
                     "x y",   "\xc3\xa4", "\xe2\x82\xac", "\xff",     "\t", "\xc2\xa0", "\xef\xbb\xbf",
                     "<&\">", "\x01",     "abcdefgh",     "",         "-1", "SI",       "value"});
    }

    QByteArray words(const char *separator, int count)
    {
        QByteArray text;
        for (int i = 0; i < count; ++i)
            text += (i ? separator : "") + word();
        return text;
    }

    QByteArray value()
    {
        const int count = below(4) ? below(5) : below(20);
        const QByteArray hex = QByteArray::number(count + (below(5) ? 0 : below(3) - 1), below(6) ? 16 : 10);
        switch (below(7)) {
        case 0:
        case 1:
            return pick({"", "0", " "}) + hex + ' ' + words(pick({" ", " ", "  "}), count);
        case 2:
        case 3:
            return hex + ' ' + words(pick({"\r", "\r", "\r\r"}), count);
        case 4:
            return words(" ", 2);
        default:
            return words(" ", below(4));
        }
    }

    QByteArray line()
    {
        switch (below(12)) {
        case 0:
            return "SI " + pick({"1f", "1f", "20", "1F", "6", "06", "77", "", "x", "1f "});
        case 1:
            return "SL " + pick({"2", "", "a b", "%1"});
        case 2:
            return pick({"TI 0", "TL 0", "TI", "TIx", "TL ", "TI 1 2", "TL"});
        case 3:
            return tag() + pick({"x", "xyz9", "", "SI1f", "\t0"});
        case 4:
            return word() + pick({"", " "}) + word();
        default:
            return tag() + ' ' + value();
        }
    }

    QByteArray children(int depth)
    {
        QByteArray text;
        for (int count = below(5); count > 0; --count) {
            text += pick({"", "", "", "\"t;", "!c;", "[d;"}) + '<';
            const int kind = depth > 0 ? below(6) : 5;
            text += kind < 2 ? pick({"I", "I", "p:I"}) : kind == 2 ? pick({"L", "L", "p:L"}) : QByteArray();
            text +=
                kind < 3 ? QByteArray() : pick({"", "", "", "", "p:"}) + (below(8) ? tag() : pick({"x", "0%1", "%1"}));
            for (const char *const name : {"v", "k", "h", "s", "d"}) {
                if (below(3))
                    text +=
                        '=' + QByteArray(name) + (*name == 'd' ? pick({"1f", "20", "6", "77", "", "x"}) : word()) + ';';
            }
            text += (kind < 3 ? children(depth - 1) : entries()) + '>';
        }
        return text;
    }

    QByteArray entries()
    {
        QByteArray text;
        for (int count = below(4) ? below(4) : below(14); count > 0; --count)
            text += pick({"<V", "<V", "<V", "<V", "<p:V", "<x"}) + pick({"", "\"", "\"a;<b\"s;>\""}) + word() + ";>";
        return text;
    }

    QRandomGenerator random;
};

#endif
