#include "Inspection/pages/internal/pagetext.h"

#include "Inspection/records/failure.h"

#include <gtest/gtest.h>

using namespace QELT::Inspection;

namespace {

std::string const bundle = "<title><!--QELT-TITLE--></title><body><!--QELT-DATA--><script>1</script>";

std::size_t countOf(std::string const& text, std::string const& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST(PageText, NamesCannotEndAnElementNorBeginOne) {
    PageModel model;
    model.json["title"] = "a</script><script>alert(1)</script><!--";
    std::string const page = pageOf(bundle, "b</title><script>&", model);

    EXPECT_EQ(2u, countOf(page, "<script"));
    EXPECT_EQ(2u, countOf(page, "</script>"));
    EXPECT_EQ(0u, countOf(page, "<!--"));
    EXPECT_NE(std::string::npos, page.find("<title>b&lt;/title&gt;&lt;script&gt;&amp;</title>"));
    std::size_t const begin = page.find('{');
    auto const json = nlohmann::json::parse(page.substr(begin, page.find("</script>") - begin));
    EXPECT_EQ("a</script><script>alert(1)</script><!--", json.at("title").get<std::string>());
}

TEST(PageText, BytesThatAreNoUtf8AreReplaced) {
    PageModel model;
    model.json["title"] = "caf\xE9";

    EXPECT_NE(std::string::npos, pageOf(bundle, "", model).find("caf\xEF\xBF\xBD"));
}

TEST(PageText, SectionsFollowTheModelByTheirNumbers) {
    PageModel model;
    EXPECT_EQ(0u, model.sections.add({1, 2, 3}));
    EXPECT_EQ(1u, model.sections.add({4}));
    EXPECT_EQ(0u, model.sections.add({1, 2, 3}));
    std::string const page = pageOf(bundle, "", model);

    EXPECT_EQ(1u, countOf(page, "id=\"section0\""));
    EXPECT_EQ(1u, countOf(page, "id=\"section1\""));
    EXPECT_EQ(0u, countOf(page, "id=\"section2\""));
    EXPECT_LT(page.find("section1"), page.find("<script>1</script>"));
}

TEST(PageText, ABundleWithoutItsMarksIsRefused) {
    EXPECT_THROW(pageOf("<title></title>", "", PageModel()), Failure);
}

TEST(PageText, Base64IsPadded) {
    EXPECT_EQ("", toBase64({}));
    EXPECT_EQ("TQ==", toBase64({'M'}));
    EXPECT_EQ("TWE=", toBase64({'M', 'a'}));
    EXPECT_EQ("TWFu", toBase64({'M', 'a', 'n'}));
    EXPECT_EQ("++//", toBase64({0xFB, 0xEF, 0xFF}));
}
