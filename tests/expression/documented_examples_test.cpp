// The worked examples of docs/expressions.md: every "`TEXT` is NUMBER" there
// must be what the library computes, so the page cannot drift from it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <string>

#include "functionfloatbase.h"
#include "functionparserbase.h"

namespace {

TEST(DocumentedExamples, ExpressionsPageStatesWhatTheLibraryComputes)
{
    std::ifstream page(EXPRCURVE_DOCS_DIR "/expressions.md");
    ASSERT_TRUE(page.good());
    std::stringstream text;
    text << page.rdbuf();
    const std::string contents = text.str();

    double a = 1.5, b = -2.0, t = 0.25;
    FunctionParserBase parser;
    parser.insertKey("a", &a);
    parser.insertKey("b", &b);
    parser.insertKey("t", &t);
    ParseMessage message{};
    const std::regex claim("`([^`]+)` is (-?[0-9][0-9.]*)");
    int checked = 0;
    for (std::sregex_iterator it(contents.begin(), contents.end(), claim), end; it != end; ++it) {
        const std::string expression = (*it)[1];
        const std::unique_ptr<FunctionFloatBase> root(parser.parseString(expression, message));
        if (!message.errors.empty())
            continue;  // a claim about a value the language cannot write, such as NaN
        EXPECT_EQ((*root)(), std::strtod((*it)[2].str().c_str(), nullptr)) << expression;
        ++checked;
    }
    EXPECT_GE(checked, 8);
}

}  // namespace
