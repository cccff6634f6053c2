#include "report/reader/inputs.hpp"
