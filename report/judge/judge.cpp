#include "report/judge/judge.hpp"
