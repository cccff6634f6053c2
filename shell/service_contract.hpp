#pragma once

/// The SPDM service on the system bus: its bus name, objects, interfaces, methods and signals.
/// Client and simulator both read these from here. Properties are named where they are used.
struct ServiceContract
{
    static constexpr const char* SERVICE_NAME = "com.varn.bmc.spdm.spdm";

    /// Interface of the device methods, signals and properties; the same text as the bus name.
    static constexpr const char* DEVICE_INTERFACE = "com.varn.bmc.spdm.spdm";
    static constexpr const char* INFO_INTERFACE = "com.varn.bmc.spdm.spdmInfo";

    static constexpr const char* DEVICE_MANAGER_PATH = "/com/varn/bmc/spdm/spdm/devicemanager";
    static constexpr const char* CPU_PATH = "/com/varn/bmc/spdm/spdm/cpu";
    static constexpr const char* HALC_CONTROLLER_PATH = "/com/varn/bmc/spdm/spdm/halcController";
    static constexpr const char* NIC_CONTROLLER_PATH = "/com/varn/bmc/spdm/spdm/nicController";
    static constexpr const char* INFO_PATH = "/com/varn/bmc/spdm/spdm/info";

    static constexpr const char* OBJECT_MANAGER_INTERFACE = "org.freedesktop.DBus.ObjectManager";
    static constexpr const char* PROPERTIES_INTERFACE = "org.freedesktop.DBus.Properties";

    /// The bus daemon: bus name and interface are the same text.
    static constexpr const char* BUS_DAEMON_NAME = "org.freedesktop.DBus";
    static constexpr const char* BUS_DAEMON_PATH = "/org/freedesktop/DBus";

    /// Methods.
    static constexpr const char* RE_AUTHENTICATE = "ReAuthenticate";
    static constexpr const char* GET_CERTIFICATE = "GetCertificate";
    static constexpr const char* GET_CERTIFICATE_PROPERTIES = "GetCertificateProperties";
    static constexpr const char* GET_MEASUREMENT = "GetMeasurement";
    static constexpr const char* GET_SIGNED_MEASUREMENT = "GetSignedMeasurement";
    static constexpr const char* GET_ALL = "GetAll";
    static constexpr const char* GET = "Get";
    static constexpr const char* GET_MANAGED_OBJECTS = "GetManagedObjects";
    static constexpr const char* NAME_HAS_OWNER = "NameHasOwner";

    /// Signals.
    static constexpr const char* INTERFACES_ADDED = "InterfacesAdded";
    static constexpr const char* INTERFACES_REMOVED = "InterfacesRemoved";
    static constexpr const char* INFO = "Info";
    static constexpr const char* DEVICE_ERROR = "DeviceError";
    static constexpr const char* CERTIFICATE_PROGRESS = "CertificateProgress";
    static constexpr const char* PROPERTIES_CHANGED = "PropertiesChanged";
};
