#include "report/writers/output.hpp"
