// A signed 32-bit number on a record. `base` is what is stored and sent;
// `effective` adds what other values contribute through sources, and is what
// a control shows.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "db/NodePool.h"
#include "db/NodeValue.h"

namespace lh::db {

class IntValue : public NodeValue, public Pooled<IntValue> {
public:
    enum class Operation : int { add = 0, subtract = 1, multiply = 2, divide = 3 };
    enum Mode : int { normal = 0, modifier = 1, readOnly = 2 };

    struct Source {
        IntValue* value;
        Operation operation;
        std::map<int32_t, int32_t> mapping;  // replaces the source's number
    };

    IntValue() = default;
    ~IntValue() override;
    NodeKind kind() const override { return NodeKind::intValue; }

    // Inline: a load of a large database sets a number for most nodes, and
    // most numbers neither feed nor take from others.
    void set(int32_t number) {
        if (mode == readOnly) return;
        baseValue = number;
        if (links) {
            recompute();
        } else {
            effectiveValue = number;
        }
    }
    int32_t base() const { return baseValue; }
    int32_t effective() const { return effectiveValue; }
    // Sends the node on and marks it dirty; unless quiet, tells the node's
    // parent that a child's value changed. 0, or -1 without a node.
    int publish(bool quiet);

    // Makes `source` feed this value, after the sources already there; a
    // source that feeds it already is not added again.
    void addSource(IntValue& source, Operation operation, std::map<int32_t, int32_t> mapping = {});
    // Works `effective` out again, then every dependant's, in list order.
    void recompute();

    const std::vector<Source>& sources() const;
    const std::vector<IntValue*>& dependants() const;

    int mode = normal;  // in readOnly, set and publish do nothing
    bool isDirty = false;

private:
    int32_t baseValue = 0;
    int32_t effectiveValue = 0;
    bool computing = false;  // stops a loop of values that feed each other
    // Most numbers of a database neither feed nor take from others: their
    // lists are made on first use, and a plain number stays small.
    struct Links {
        std::vector<Source> sources;
        std::vector<IntValue*> dependants;
    };
    std::unique_ptr<Links> links;
    Links& ownLinks();
};

}  // namespace lh::db
