// The arithmetic of tokens, apart from any window: the wrap of a rotation
// step, the 30-pixel glide, and the turned copy of a picture.
#pragma once

#include <cstdint>
#include <vector>

namespace lh::table {

// A rotation from anywhere (a wheel, a menu step past 7 or below 0, any
// byte off the wire) as a step 0..7 of 45 degrees clockwise.
int wrapRotation(int step);

// One 30 ms tick of a token gliding from `shown` towards `target`: steps of
// 30 pixels along the line, truncating; within 30 pixels it arrives.
// Answers whether it moved.
constexpr int32_t kGlideStep = 30;
bool glideStep(int32_t& shownX, int32_t& shownY, int32_t targetX, int32_t targetY);

// A picture turned by step x 45 degrees clockwise about its top left: the
// canvas spans the floored corners plus a 2-pixel margin each way; each
// target pixel maps back to the source by truncation, transparent outside.
struct TurnedPicture {
    uint32_t width = 0, height = 0;
    std::vector<uint32_t> pixels;  // ARGB, top row first
};
TurnedPicture turnPicture(const uint32_t* argb, uint32_t width, uint32_t height, int step);
// The size alone, for callers that need only the growth.
void turnedSize(uint32_t width, uint32_t height, int step, uint32_t& outWidth, uint32_t& outHeight);

}  // namespace lh::table
