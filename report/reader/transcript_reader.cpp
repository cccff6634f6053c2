#include "report/reader/transcript_reader.hpp"
