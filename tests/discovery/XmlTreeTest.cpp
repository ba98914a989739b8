#include "discovery/XmlTree.h"

#include "DamagedBytes.h"

#include <gtest/gtest.h>

#include <random>

namespace lumvik {
namespace {

using namespace Qt::StringLiterals;

TEST(XmlTree, HasNamesAttributesAndTextsWithoutPrefixes) {
    const auto root = parsedXml("<a:r xmlns:a='urn:a' xmlns:b='urn:b' b:k='v'>"
                                "<b:one> x&amp;&#65; </b:one><two><three>y</three></two></a:r>");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->name, u"r"_s);
    EXPECT_EQ(root->attribute(u"k"_s), u"v"_s);
    EXPECT_EQ(root->attribute(u"none"_s), QString());
    EXPECT_EQ(root->textAt({u"one"}), u"x&A"_s);
    EXPECT_EQ(root->textAt({u"two", u"three"}), u"y"_s);
    EXPECT_EQ(root->textAt({u"two", u"four"}), QString());
    ASSERT_NE(root->descendant(u"three"), nullptr);
    EXPECT_EQ(root->descendant(u"four"), nullptr);
}

TEST(XmlTree, TextAroundChildrenIsJoined) {
    const auto root = parsedXml("<r> a<!-- no --><b/><![CDATA[<c>]]></r>");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->text, u"a<c>"_s);
}

TEST(XmlTree, DamagedDocumentsAreRefused) {
    for (const char *document :
         {"", "text", "<r>", "<r></s>", "<r/><r/>", "<r><a></r></a>", "<r>&none;</r>", "<r",
          "<p:r/>", "<r>\xff\xfe</r>", "<r a='1' a='2'/>"})
        EXPECT_FALSE(parsedXml(document)) << document;
}

TEST(XmlTree, DocumentTypesAndEntitiesAreRefused) {
    EXPECT_FALSE(parsedXml("<!DOCTYPE r><r/>"));
    EXPECT_FALSE(parsedXml("<!DOCTYPE r SYSTEM 'file:///etc/passwd'><r/>"));
    EXPECT_FALSE(parsedXml("<!DOCTYPE r [<!ENTITY e 'x'>]><r>&e;</r>"));
    EXPECT_FALSE(parsedXml("<!DOCTYPE r [<!ENTITY a '&b;&b;'><!ENTITY b '&a;'>]><r>&a;</r>"));
}

TEST(XmlTree, EachLimitHolds) {
    const XmlLimits limits{.bytes = 1000, .depth = 4, .elements = 10, .text = 20};
    const auto nested = [](int depth) {
        return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
    };
    EXPECT_TRUE(parsedXml(nested(4), limits));
    EXPECT_FALSE(parsedXml(nested(5), limits));
    const auto wide = [](int count) { return "<r>" + QByteArray("<a/>").repeated(count) + "</r>"; };
    EXPECT_TRUE(parsedXml(wide(9), limits));
    EXPECT_FALSE(parsedXml(wide(10), limits));
    const auto padded = [](qsizetype size) { return "<r>" + QByteArray(size, 'x') + "</r>"; };
    EXPECT_TRUE(parsedXml(padded(20), limits));
    EXPECT_FALSE(parsedXml(padded(21), limits));
    EXPECT_FALSE(parsedXml("<r a='" + QByteArray(21, 'x') + "'/>", limits));
    EXPECT_FALSE(parsedXml("<" + QByteArray(21, 'x') + "/>", limits));
    EXPECT_TRUE(parsedXml("<r>" + QByteArray(993, ' ') + "</r>", {.bytes = 1000}));
    EXPECT_FALSE(parsedXml("<r>" + QByteArray(994, ' ') + "</r>", {.bytes = 1000}));
}

TEST(XmlTree, UsualLimitsKeepHugeDocumentsOut) {
    EXPECT_FALSE(parsedXml(QByteArray("<a>").repeated(20'000)));
    EXPECT_FALSE(parsedXml(QByteArray("<a>").repeated(33) + QByteArray("</a>").repeated(33)));
    EXPECT_FALSE(parsedXml("<r>" + QByteArray(100'000, ' ') + "</r>"));
}

TEST(XmlTree, SurvivesDamageAnywhere) {
    const QByteArray document = "<?xml version='1.0' encoding='UTF-8'?><s:E xmlns:s='urn:s' a='b'>"
                                "<s:H>t&lt;</s:H><s:B><x y='z'><![CDATA[c]]></x></s:B></s:E>";
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; ++round) {
        const auto root = parsedXml(test::damagedBytes(document, random));
        EXPECT_TRUE(!root || root->name.size() <= document.size());
    }
}

} // namespace
} // namespace lumvik
