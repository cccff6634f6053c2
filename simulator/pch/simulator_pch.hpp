// Read once for all of the simulator's files: parsing it anew would be most of their compile time.
#include <nlohmann/json.hpp>
