// Angles in whole degrees, counter-clockwise, in integer arithmetic only, so
// that every machine gets the same result.
#ifndef APPS_VIRTUAL_READER_ANGLE_H_
#define APPS_VIRTUAL_READER_ANGLE_H_

namespace corvex::vreader {

constexpr int kUnit = 1 << 20;  // what sine and cosine are scaled by

// Any angle, also a negative one.
int Sine(int degrees);
int Cosine(int degrees);

// 0 to 359.
int WholeTurn(int degrees);

// The direction of a vector, 0 to 359, y upwards; 0 for none.
int Direction(int dx, int dy);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_ANGLE_H_
