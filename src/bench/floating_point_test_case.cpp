#include "bench/floating_point_test_case.h"

namespace vxt {

void CFloatingPointTestCase::_Compute() {}

}  // namespace vxt
