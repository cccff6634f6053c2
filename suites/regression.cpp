#include "suites/regression.hpp"

#include "operations/certificates.hpp"
#include "operations/measurements.hpp"
#include "operations/signed_measurements.hpp"
#include "shell/discovery.hpp"

#include <iostream>
#include <string>

void run_regression()
{
    constexpr std::uint16_t slot = 0;
    const MeasurementIndices indices{all_measurements};
    const std::string nonce;
    for (const auto& [eid, path] : discovered_objects)
    {
        std::cout << "Starting Regression for object" << path << std::endl;
        ReAuthenticate(eid);
        GetCertificate(eid, slot);
        GetCertificateProperties(eid, slot);
        get_measurement(eid, slot, indices);
        get_signed_measurement(eid, indices, slot, nonce);
        std::cout << std::string(88, '.') << std::endl << std::endl;
    }
}
