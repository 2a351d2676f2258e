// IntValue: the stored number and the sum its sources make of it.
#include "db/IntValue.h"

#include <algorithm>
#include <cstdint>

#include "db/DbContext.h"
#include "db/DbNode.h"

namespace lh::db {

namespace {

// The arithmetic runs in 64 bits, where no step of two 32-bit numbers can
// overflow, and the result stops at the ends of the 32-bit range: a sum
// that runs over shows the largest number rather than a negative one.
int32_t saturate(int64_t n) {
    return int32_t(std::clamp<int64_t>(n, INT32_MIN, INT32_MAX));
}

int32_t apply(int32_t accumulator, IntValue::Operation operation, int32_t operand) {
    int64_t a = accumulator, b = operand;
    switch (operation) {
    case IntValue::Operation::add: return saturate(a + b);
    case IntValue::Operation::subtract: return saturate(a - b);
    case IntValue::Operation::multiply: return saturate(a * b);
    case IntValue::Operation::divide:
        // A division by 0 leaves the accumulator as it was, as if the source
        // were not there; a sheet with an empty field must not stop the game.
        if (b == 0) return accumulator;
        return saturate(a / b);
    }
    return accumulator;
}

}  // namespace

IntValue::~IntValue() {
    if (!links) return;
    for (Source& source : links->sources) {
        auto& list = source.value->ownLinks().dependants;
        list.erase(std::remove(list.begin(), list.end(), this), list.end());
    }
    for (IntValue* dependant : links->dependants) {
        auto& list = dependant->ownLinks().sources;
        list.erase(std::remove_if(list.begin(), list.end(), [this](const Source& s) { return s.value == this; }),
                   list.end());
        dependant->recompute();
    }
}

IntValue::Links& IntValue::ownLinks() {
    if (!links) {
        links = std::make_unique<Links>();
        // The links are freed, and the other ends told, by this value's
        // destructor: the tree visits its node when it goes.
        if (node) node->arena->keepTrackOf(*node);
    }
    return *links;
}

const std::vector<IntValue::Source>& IntValue::sources() const {
    static const std::vector<Source> none;
    return links ? links->sources : none;
}

const std::vector<IntValue*>& IntValue::dependants() const {
    static const std::vector<IntValue*> none;
    return links ? links->dependants : none;
}

int IntValue::publish(bool quiet) {
    if (mode == readOnly) return 0;
    if (!node) return -1;
    if (ReplicationSink* sink = dbContext().sink) sink->publishNode(*node);
    isDirty = true;
    if (!quiet && node->parent) node->parent->notify(ChangeKind::value);
    return 0;
}

void IntValue::addSource(IntValue& source, Operation operation, std::map<int32_t, int32_t> mapping) {
    // A source counts once, however many controls name it.
    auto& own = ownLinks().sources;
    if (std::any_of(own.begin(), own.end(), [&](const Source& s) { return s.value == &source; })) return;
    ownLinks().sources.push_back(Source{&source, operation, std::move(mapping)});
    auto& list = source.ownLinks().dependants;
    if (std::find(list.begin(), list.end(), this) == list.end()) list.push_back(this);
    recompute();
}

void IntValue::recompute() {
    if (!links) {  // no sources, no dependants
        effectiveValue = baseValue;
        return;
    }
    if (computing) return;
    computing = true;
    int32_t accumulator = 0;
    for (const Source& source : links->sources) {
        int32_t number = source.value->effectiveValue;
        auto mapped = source.mapping.find(number);
        if (mapped != source.mapping.end()) number = mapped->second;
        accumulator = apply(accumulator, source.operation, number);
    }
    effectiveValue = saturate(int64_t(baseValue) + accumulator);
    // Indexes, not iterators: a dependant may be added while this runs.
    for (size_t i = 0; i < links->dependants.size(); ++i) links->dependants[i]->recompute();
    computing = false;
}

}  // namespace lh::db
