// A call tree as text for people.
#ifndef KZFI_SIMHOST_TREE_TEXT_H
#define KZFI_SIMHOST_TREE_TEXT_H

#include <ostream>
#include <string>

#include "call_tree.h"

namespace kzfi_simhost {

/// Prints the threads of a trace, each with its calls indented below the calls around them:
///
///     19:53:51.114810       1.25 ms    initNode [42, cfipluginbase.cpp]
///     19:53:51.114830                    CFiPluginInterposer::initNode for Node [a]
///     19:53:51.115900               E    ERROR: no room
class TreeText {
  public:
    struct Options {
        bool colours = false;
        bool onlyTrouble = false; ///< errors, warnings, what is unpaired, and the calls around it
    };

    TreeText(std::ostream& out, const Options& how) : stream(out), options(how) {}

    void print(const ThreadTrace& thread);
    void printSummary(const CallTree& tree, const TraceReader& reader);

  private:
    std::string coloured(const char* code, const std::string& text) const;
    void print(const TraceEvent& event);
    void printLine(const std::string& clock, const TraceEvent& event, const std::string& text);
    void printDate(std::int64_t time);

    std::ostream& stream;
    const Options options;
    std::string shownDate;
};

} // namespace kzfi_simhost

#endif
