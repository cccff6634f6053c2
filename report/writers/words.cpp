#include "report/writers/words.hpp"
