#include "report/measurement/decode.hpp"
