#include "assistant/Html.h"

#include <gtest/gtest.h>

#include "support/TestData.h"

namespace {

TEST(Html, APageBecomesItsText) {
    EXPECT_EQ(htmlToText(readTestData("page.html")),
              "The tide mill at Saltby \u2013 Estuary Notes\n\n"
              "The tide mill at Saltby\n\n"
              "By R. Example , 3&thinsp;May &bull; 4 min\n\n"
              "Twice a day the sea fills the pond behind the mill, and\n"
              "twice a day the miller lets it out again.\n"
              "There is no\n"
              "wind to wait for \u2014 only the moon.\n\n"
              "How it works\n\n"
              "Water enters through a flap gate , which\n"
              "the ebb pushes shut. The wheel turns when the level outside is\n"
              "< that of the pond: about 4\u00BD hours per tide, \"neaps\" and springs alike.\n\n"
              "Flood: the gate opens by itself.\n\n"
              "High water: it closes.\n\n"
              "Ebb: the miller\u2019s day begins\u2026\n\n"
              "Opening times\n\n"
              "Month Days\n\n"
              "April & May Saturdays\n\n"
              "June to August daily, 11 \u2013 5\n\n"
              "Flour is sold by the bag, A&amp;B Millers &copy;.\n\n"
              "1 bag\n2 bags\n\n"
              "See also\nThe salt pans");
}

TEST(Html, ElementsThatAreNoContentGoWithAllThatIsInThem) {
    const std::pair<std::string, std::string> cases[] = {
        {"a<script>if (b < c) d = '</div>';</script>e", "ae"},
        {"a<ScRiPt type=x>b</sCrIpT >c", "ac"},
        {"a<script\n>b</script\n>c", "ac"},
        {"a<style/>b</style>c", "ac"},
        {"a<script>b</script>c<script>d</script>e", "ace"},
        {"a<svg><g></g><svg></svg>b</svg>c", "ab c"},
        {"a<script>b</scriptures>c", "ac"},
        {"a<script>b< /script>c", "a"},
        {"a<script>b</style>c", "a"},
        {"a<script>b</script", "a"},
        {"a<script>b</", "a"},
        {"a<script", "a"},
        {"a<script>b</script c<p>d", "ad"},
        {"a<header>b</header>c", "ac"},
        {"a<head>b</head>c", "a\nb\nc"},
        {"a</header>b", "a\nb"},
        {"a<navbar>b</navbar>c", "a b c"},
        {"a<nav1>b</nav1>c", "a b c"},
        {"a<nav-bar>b</nav-bar>c", "ac"},
        {"a<footer>b</footer><form>c</form><noscript>d</noscript>e", "ae"},
        {"a<!-- b <p> -- > c --->d", "ad"},
        {"a<!--><p>b-->c", "a\nb-->c"},
        {"a<!-- b", "a"},
        {"a<!- b>c", "a c"},
    };
    for (const auto& [html, text] : cases)
        EXPECT_EQ(htmlToText(html), text) << html;
}

TEST(Html, TagsEndLinesOrSeparateWords) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"<", ""},
        {"a<", "a"},
        {"a<b", "a"},
        {"a<b>c</b>d", "a c d"},
        {"a <b> c</b>, d", "a c , d"},
        {"<b>a</b>", "a"},
        {"a<br>b<BR/>c", "a\nb\nc"},
        {"a</p><p>b", "a\nb"},
        {"a</p>\n<p>b", "a\n\nb"},
        {"a</div><div></div><div>b", "a\nb"},
        {"a<li>b</li><li>c", "a\nb\nc"},
        {"a<hr>b<pre>c</pre>d<h2>e</H2>f", "a\nb\nc\nd\ne\nf"},
        {"a<tr>b<td>c</td><td>d</td></tr>e", "a\nb c d e"},
        {"a<i title='x > y'>b", "a y'>b"},
        {"a< p>b", "a b"},
        {"a\tb \r c\r\nd", "a b c\nd"},
        {"a \n \n\n b \n", "a\n\nb"},
        {"\n\n a", "a"},
        {"  a  ", " a"},
        {"a&nbsp; &nbsp;b&#10;c", "a b\nc"},
        {"&lt;p&gt;a&lt;script&gt;b", "<p>a<script>b"},
        {"&l<b>t;", "&l t;"},
        {"caf\xC3\xA9<b>\xFF", "caf\xC3\xA9 \xFF"},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
    };
    for (const auto& [html, text] : cases)
        EXPECT_EQ(htmlToText(html), text) << html;
}

TEST(Html, CharacterReferencesAreDecodedOnce) {
    const std::pair<std::string, std::string> cases[] = {
        {"&amp;", "&"},
        {"&lt;b&gt; &quot;c&apos;", "<b> \"c'"},
        {"a&nbsp;b", "a b"},
        {"&mdash;&ndash;&hellip;", "\u2014\u2013\u2026"},
        {"&amp;lt;", "&lt;"},
        {"&&amp;&", "&&&"},
        {"&#65;&#x41;&#X41;", "AAA"},
        {"&#127;&#128;&#x7FF;&#x800;", "\x7F\u0080\u07FF\u0800"},
        {"&#xffff;&#x10000;&#x1F600;&#1114111;", "\uFFFF\U00010000\U0001F600\U0010FFFF"},
        {"&#xD800;&#xDFFF;&#x110000;&#xFFFFFFF;&#-5;", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"&#65x;&#x41g;&# 65;&#+65;", "AAAA"},
        {"&#0;&#;&#x;&#zz;&#x0;", "&#0;&#;&#x;&#zz;&#x0;"},
        {"&#00000065;&#000000065;", "A&#000000065;"},
        {"&;&AMP;&copy;& amp;", "&;&AMP;&copy;& amp;"},
        {"&amp", "&amp"},
        {"&lt", "&lt"},
        {"&x&amp;", "&x&"},
        {"&#65", "&#65"},
        {"&lt;;", "<;"},
        {";&lt;", ";<"},
        {"&123456789;&amp;", "&123456789;&"},
        {"&1234567890;&amp;", "&1234567890;&"},
        {"&12345&lt;", "&12345<"},
    };
    for (const auto& [text, decoded] : cases)
        EXPECT_EQ(decodeEntities(text), decoded) << text;
}

TEST(Html, OnlyTwoSchemesAreOfTheWeb) {
    for (const char* url : {"http://", "https://a", "http://a/b?c"})
        EXPECT_TRUE(isHttpUrl(url)) << url;
    for (const char* url : {"", "http", "http:/a", "HTTP://a", "Https://a", " http://a", "ftp://a",
                            "httpss://a", "file:///a", "a http://b"})
        EXPECT_FALSE(isHttpUrl(url)) << url;
}

}  // namespace
