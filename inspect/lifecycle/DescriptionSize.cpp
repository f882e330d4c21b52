#include "inspect/lifecycle/DescriptionSize.h"

#include "inspect/lifecycle/DescriptionEntries.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>

#include <sstream>

namespace rombus::description {
namespace {

// Every quadlet of a ROM written as richly as a description allows: an entry (a map, its key and
// its value) with a block of its own (a map of at, crc and entries or quadlets, keys and values)
// takes at most 16 nodes.
constexpr size_t MaxNodes = 16 * MaxQuadlets;

// The deepest a ROM of 256 quadlets nests: the document, root and an entry, then for each
// directory within a directory (its entry and header take two quadlets, so 125 at most) its
// block, its entries and an entry, then a leaf's block and quadlets: 380 levels. The parser
// stops by itself at 500, saying only "bad file".
constexpr size_t MaxDepth = 400;

// Counts the nodes and the depth of the collections as the parser meets them, and stops it at the
// first node too many or too deep, before it nests any further.
class NodeCounter : public YAML::EventHandler {
public:
    void OnDocumentStart(const YAML::Mark&) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t) override { count(mark); }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override { count(mark); }
    void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                  const std::string&) override {
        count(mark);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                         YAML::EmitterStyle::value) override {
        open(mark);
    }
    void OnSequenceEnd() override { --depth_; }
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                    YAML::EmitterStyle::value) override {
        open(mark);
    }
    void OnMapEnd() override { --depth_; }

private:
    void count(const YAML::Mark& mark) {
        if (++nodes_ > MaxNodes)
            throw std::runtime_error(format("line %d: the description holds more than %zu "
                                            "values and keys, more than a ROM of 256 quadlets "
                                            "needs",
                                            mark.line + 1, MaxNodes));
    }

    void open(const YAML::Mark& mark) {
        count(mark);
        if (++depth_ > MaxDepth)
            throw std::runtime_error(format("line %d: the description nests lists and maps more "
                                            "than %zu deep, deeper than a ROM of 256 quadlets "
                                            "needs",
                                            mark.line + 1, MaxDepth));
    }

    size_t nodes_ = 0;
    size_t depth_ = 0;
};

} // namespace

void checkDescriptionSize(const std::string& description) {
    std::istringstream in(description);
    YAML::Parser parser(in);
    NodeCounter counter;
    parser.HandleNextDocument(counter);
}

} // namespace rombus::description
