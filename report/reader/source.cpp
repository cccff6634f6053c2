#include "report/reader/source.hpp"
