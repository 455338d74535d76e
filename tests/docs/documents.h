// The documents of the tree, and what stands in them for tests to look at.
#ifndef KZFI_TESTS_DOCUMENTS_H
#define KZFI_TESTS_DOCUMENTS_H

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace kzfi_tests {

/// A fenced block. Behind the fence stand the language and one word, as in "yaml file=a.yaml" or
/// "sh run"; docs/carrying-on.md tells what the words mean.
struct Block {
    std::string document; ///< path in the tree
    int line = 0;         ///< of the fence
    std::string language;
    std::string word;
    std::string argument; ///< behind the word's "="
    std::string rest;     ///< whatever else stands behind the fence
    std::string text;     ///< whole lines
};

void PrintTo(const Block& block, std::ostream* out);
/// "docs/formats.md:40"
std::string placeOf(const Block& block);

/// A link of a document: to another file, to a heading of one, or to elsewhere.
struct Link {
    int line = 0;
    std::string target;
};

/// All *.md files of the tree, as paths in it, sorted.
const std::vector<std::string>& documents();
/// The path of something of the tree.
std::string inTree(const std::string& path);

/// What a test of a document is called: its path with only letters and digits.
std::string asTestName(const testing::TestParamInfo<std::string>& info);

std::vector<Block> blocksOf(const std::string& document);
std::vector<Block> blocksOf(const std::string& document, const std::string& word);
/// The one block "example=name" of all documents; an empty one with a failure if there is none.
Block exampleCalled(const std::string& name);

/// The lines that stand in no fenced block; the others are empty.
std::vector<std::string> proseOf(const std::string& document);
std::vector<Link> linksOf(const std::string& document);
/// What the headings of a document are called in links: "#parameter-values".
std::vector<std::string> anchorsOf(const std::string& document);
/// Lines that are code by being indented, as numbers.
std::vector<int> indentedCodeIn(const std::string& document);

} // namespace kzfi_tests

#endif
