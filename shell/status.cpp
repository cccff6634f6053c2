#include "shell/status.hpp"

#include <iostream>

const std::map<std::int32_t, std::string> ChallengeStatusText{
    {0, "Not Ready"}, {1, "Passed"}, {2, "In Progress"}, {3, "Failed"}, {4, "Not Supported"},
};

const std::map<std::uint16_t, std::string> ResultText{
    {0, "Success"},
    {1, "Failed"},
};

const std::map<std::int32_t, std::string> OperationStatus{
    {0, "Success"},
    {1, "EID Not Available"},
    {2, "EID Not Ready"},
    {3, "Queue Full"},
    {4, "Invalid Command"},
    {5, "Authentication Failed"},
    {6, "Invalid Request Data"},
    {7, "Allocation Failed"},
    {8, "Get Certificate Failed"},
    {9, "Get Measurement Failed"},
    {10, "Measurement Not Supported"},
    {11, "Measurement Summary Not Available"},
    {12, "Key Error"},
    {13, "Conversion Error"},
    {14, "Timeout"},
    {15, "Post Request Failed"},
    {16, "Lock Failed"},
    {17, "Set Preference Failed"},
    {18, "Partial Measurement Success"},
    {19, "Certificate Not Found"},
    {20, "Resynchronization Required"},
};

const std::string base64_alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string status_text(std::int32_t code)
{
    const auto entry = OperationStatus.find(code);
    return entry == OperationStatus.end() ? "Unknown Status" : entry->second;
}

int status_advice(std::uint32_t code)
{
    switch (code)
    {
        case operation_status::success: return 1;
        case operation_status::eid_not_ready:
            std::cout << "ℹ INFO: Device not ready for measurement operation" << std::endl;
            return 0;
        case operation_status::authentication_failed:
            std::cout << "✗ FAIL: Authentication required for measurements" << std::endl;
            return 0;
        case operation_status::measurement_not_supported:
            std::cout << "ℹ INFO: Device does not support measurements" << std::endl;
            return 0;
        case operation_status::measurement_summary_not_available:
            std::cout << "ℹ INFO: Measurement summary not available" << std::endl;
            return 0;
        case operation_status::partial_measurement_success:
            std::cout << "⚠ WARNING: Partial success - some measurements failed" << std::endl;
            return 1;
        case operation_status::resynchronization_required:
            std::cout << "ℹ INFO: Resynchronization required" << std::endl;
            return 0;
        default: return 0;
    }
}
