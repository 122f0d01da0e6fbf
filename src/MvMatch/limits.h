// Every number of the comparison, with its unit; docs/matcher.md shows what
// each does. Coordinates and lengths are in the record's own units ("cells";
// the reader does not say how large one is), angles in whole degrees.
#ifndef SRC_MVMATCH_LIMITS_H_
#define SRC_MVMATCH_LIMITS_H_

#include <cstdint>

namespace corvex {

// The record.
constexpr int32_t kMaxMinutiae = 50;
constexpr int32_t kRecordHeadBytes = 3;
constexpr int32_t kMinutiaBytes = 5;
constexpr int32_t kMaxRecordBytes =
    kRecordHeadBytes + kMaxMinutiae * kMinutiaBytes;
constexpr uint8_t kFormatTag = 18;
constexpr int32_t kMaxDirectionDegrees = 359;
constexpr int32_t kMaxWeight = 100;
constexpr int32_t kMaxAuxiliary = 100;

// Sticks.
constexpr int32_t kMinStickCells = 35;
constexpr int32_t kMaxStickCells = 235;
constexpr int32_t kStickLengths = kMaxStickCells - kMinStickCells + 1;
constexpr int32_t kMaxPairsPerLength = 50;
constexpr int32_t kMaxMinutiaPairs = kMaxMinutiae * (kMaxMinutiae - 1) / 2;
constexpr int32_t kMaxSticks = 2 * kMaxMinutiaPairs - 1;  // 2449: all but one

// Stick pairing.
constexpr int32_t kMaxLengthDifferenceCells = 14;
constexpr int32_t kMaxAngleDifferenceDegrees = 12;
constexpr int32_t kMaxStickDistance = 20;  // root of the three squares' sum
constexpr int32_t kBestCloseness = kMaxStickDistance + 1;
constexpr int32_t kFullWeightFactor = 32;   // less the difference in weight
constexpr int32_t kPairScoreShift = 5;      // of closeness times factor: by 32
constexpr int32_t kPairScoreRounding = 15;  // added before; not quite half
constexpr int32_t kOtherKindTenths = 6;     // of the score, for each such end
constexpr int32_t kMaxPairScore = 21;
constexpr int32_t kMaxCandidates = 2 * kMaxMinutiaPairs;  // 2450

// Votes.
constexpr int32_t kFullTurnDegrees = 360;
constexpr int32_t kHalfTurnDegrees = 180;
constexpr int32_t kHalfWindowBins = 4;  // a window is nine bins
constexpr int32_t kMaxOffsetCells = 368;
constexpr int32_t kOffsetBins = 2 * kMaxOffsetCells + 1;
constexpr int32_t kOffsetAgreementCells = 15;  // below this
constexpr int32_t kMaxKept = 1470;

// Position check and score.
constexpr int32_t kMinToleranceCells = 8;
constexpr int32_t kMaxToleranceCells = 15;
constexpr int32_t kCellsPerTolerance = 10;
constexpr int32_t kSmallGroup = 3;  // members; adds its best score only
constexpr int32_t kTotalPerPoint = 10;
constexpr int32_t kMaxScore = 100;
constexpr int32_t kSineScale = 1024;

// The one error of the public calls: a null pointer or an invalid record.
constexpr int32_t kBadRecord = -110;

}  // namespace corvex

#endif  // SRC_MVMATCH_LIMITS_H_
