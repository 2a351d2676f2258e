// IntValue: the stored number and the sum its sources make of it.
#include "db/IntValue.h"

#include <algorithm>

#include "db/DbContext.h"
#include "db/DbNode.h"

namespace lh::db {

namespace {

// Numbers wrap at 32 bits as the stored format does; the arithmetic runs in
// 64 bits so that no step overflows on the way.
int32_t apply(int32_t accumulator, IntValue::Operation operation, int32_t operand) {
    int64_t a = accumulator, b = operand;
    switch (operation) {
    case IntValue::Operation::add: return int32_t(uint32_t(a + b));
    case IntValue::Operation::subtract: return int32_t(uint32_t(a - b));
    case IntValue::Operation::multiply: return int32_t(uint32_t(a * b));
    case IntValue::Operation::divide:
        // A division by 0 leaves the accumulator as it was, as if the source
        // were not there; a sheet with an empty field must not stop the game.
        if (b == 0) return accumulator;
        return int32_t(uint32_t(a / b));
    }
    return accumulator;
}

}  // namespace

IntValue::~IntValue() {
    for (Source& source : sourceList) {
        auto& list = source.value->dependantList;
        list.erase(std::remove(list.begin(), list.end(), this), list.end());
    }
    for (IntValue* dependant : dependantList) {
        auto& list = dependant->sourceList;
        list.erase(std::remove_if(list.begin(), list.end(), [this](const Source& s) { return s.value == this; }),
                   list.end());
        dependant->recompute();
    }
}

void IntValue::set(int32_t number) {
    if (mode == readOnly) return;
    baseValue = number;
    recompute();
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
    sourceList.push_back(Source{&source, operation, std::move(mapping)});
    auto& list = source.dependantList;
    if (std::find(list.begin(), list.end(), this) == list.end()) list.push_back(this);
    recompute();
}

void IntValue::recompute() {
    if (computing) return;
    computing = true;
    int32_t accumulator = 0;
    for (const Source& source : sourceList) {
        int32_t number = source.value->effectiveValue;
        auto mapped = source.mapping.find(number);
        if (mapped != source.mapping.end()) number = mapped->second;
        accumulator = apply(accumulator, source.operation, number);
    }
    effectiveValue = int32_t(uint32_t(int64_t(baseValue) + accumulator));
    // Indexes, not iterators: a dependant may be added while this runs.
    for (size_t i = 0; i < dependantList.size(); ++i) dependantList[i]->recompute();
    computing = false;
}

}  // namespace lh::db
