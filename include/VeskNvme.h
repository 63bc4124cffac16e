/*
 * VeskNvme.h: the interface of libVeskNvme.so, for C (C99) and C++ (C++17).
 *
 * The library inventories and monitors one NVMe RAID controller with at most two physical disks
 * (PD) and two virtual disks (VD; the function names say LD for the same thing).
 *
 * Conventions of every function below:
 *  1. The caller owns all memory. No size travels with a record: the library writes as much as the
 *     answer needs, and each function says how much that can be. Nothing is handed out that the
 *     caller would have to free, and no pointer is kept after the call.
 *  2. Unless said otherwise the result is the library's error state at the moment of return, one of
 *     the ERR_ codes. ERR_NONE also stands for a device command that failed: its fields read 0.
 *  3. The adapter id is accepted and examined nowhere: every call addresses the one controller.
 *  4. Only the record pointer of each function is tested for null (result ERR_NULL_ARGUMENT, record
 *     untouched). The UCHAR_* count arguments must be valid.
 *  5. Numbers in records are little endian, at the offsets given beside them.
 *  6. Calls block for the time of their NVMe commands. They may come from any thread, but the error
 *     state is one for the whole process: of two calls that overlap, each may return the other's
 *     code. Set-up and tear-down must not overlap anything else.
 *  7. Functions catch no exception that escapes from below: those that can be expected are named at
 *     the function. Any call throws std::system_error if a mutex cannot be locked. In the build for
 *     ESXi hosts that unwinds by itself (the default), an exception that leaves the library ends a
 *     process in C++ whose unwinder is another one; a host that catches needs the build for the
 *     host's libgcc_s.so.1.
 *
 * Order of calls: set-up (ZT_API_Initialize or ZNV_Library_Initialize), then use, then tear-down
 * (ZT_API_Finalize twice or ZNV_Library_Finalize once). Finish the tear-down before unloading: the
 * library starts one thread of its own, and unloading does not stop it.
 */
#ifndef VESKNVME_H
#define VESKNVME_H

#ifdef __cplusplus
#include <cstddef>
#include <string>
#else
#include <stdbool.h>
#include <stddef.h>
#endif

/* ---- Scalars ------------------------------------------------------------------------------- */

typedef unsigned char UCHAR_;
typedef unsigned short USHORT_INT;
typedef int INTEGER;
typedef unsigned int UNSIGNED_INTEGER;
typedef unsigned long ULONG_INT;
typedef unsigned long long ULONG_ULONG_INT;
typedef bool BOOL_TYPE;
typedef void VOID_;
typedef void* VOIDPTR;
typedef void* HANDLE;      /* a platform object, opaque to the host */
typedef USHORT_INT RESULT; /* of operations inside the library: 0 success, 1 failure */

#ifdef __cplusplus
typedef std::string STDSTR;
static_assert(sizeof(ULONG_INT) == 8 && sizeof(BOOL_TYPE) == 1, "an LP64 target is required");
#endif

/* ---- Result codes -------------------------------------------------------------------------- */

enum VeskNVMe_ResultCode {
    ERR_NONE = 0,
    ERR_FAIL = 1, /* no memory, bad request type, mapping file not readable, mark not stored */
    ERR_REQ_OUT_OF_RANGE = 5,    /* not raised at present */
    ERR_INVALID_REQUEST = 6,     /* bad request type for raid status or free space */
    ERR_INVALID_ADAPTER_ID = 13, /* not raised at present */
    ERR_NOT_SUPPORTED = 19,      /* not raised at present */
    ERR_NULL_ARGUMENT = 150,     /* the record pointer was null */
    ERR_RESCANING = 187          /* not raised at present */
};

/* ---- Records ------------------------------------------------------------------------------- */

/* Request types of the disk calls, Info_Request.requestType. */
enum VeskNVMe_RequestType {
    REQUEST_ALL = 1,   /* every disk that exists, in rising id order */
    REQUEST_SINGLE = 2 /* the disk named in Info_Request.id */
};

/* Request and answer header of the disk calls. The caller owns it, and the room for the records
 * that the library packs behind it, from offset 16 on. An absent disk is no failure: the answer has
 * one record fewer. Bytes named rsvd are neither read nor written. */
typedef struct Info_Request {
    UCHAR_ rsvd0;
    UCHAR_ requestType;     /*  1  in: VeskNVMe_RequestType */
    UCHAR_ id;              /*  2  in: disk id, read for REQUEST_SINGLE only */
    UCHAR_ rsvd3[3];        /*  3 */
    USHORT_INT recordCount; /*  6  out: number of records delivered */
    USHORT_INT recordSize;  /*  8  out: bytes of one record if several came, else 0xFFFF */
    UCHAR_ rsvd10[6];       /* 10 */
} Info_Request, *PInfo_Request;
#ifdef __cplusplus
static_assert(sizeof(Info_Request) == 16, "Info_Request");
static_assert(offsetof(Info_Request, requestType) == 1, "requestType");
static_assert(offsetof(Info_Request, id) == 2, "id");
static_assert(offsetof(Info_Request, recordCount) == 6, "recordCount");
static_assert(offsetof(Info_Request, recordSize) == 8, "recordSize");
#endif

/* Firmware package version, 8 bytes. */
typedef struct _PackageVersion {
    USHORT_INT majorVersion;
    USHORT_INT minorVersion;
    USHORT_INT revisionNumber;
    USHORT_INT buildNumber;
} _PackageVersion, *P_PackageVersion;
#ifdef __cplusplus
static_assert(sizeof(_PackageVersion) == 8, "_PackageVersion");
static_assert(offsetof(_PackageVersion, minorVersion) == 2, "minorVersion");
static_assert(offsetof(_PackageVersion, revisionNumber) == 4, "revisionNumber");
static_assert(offsetof(_PackageVersion, buildNumber) == 6, "buildNumber");
#endif

/* PCI address. As a 32-bit image: function in bits 0 to 7, device in bits 8 to 15, bus in bits 16
 * to 23, zero above. */
typedef struct _BDF {
    UCHAR_ function;
    UCHAR_ device;
    UCHAR_ bus;
} _BDF, BDF, *PBDF;
#ifdef __cplusplus
static_assert(sizeof(_BDF) == 3, "_BDF");
static_assert(offsetof(_BDF, device) == 1, "device");
static_assert(offsetof(_BDF, bus) == 2, "bus");
#endif

/* Nobody reads or writes a field of it; its layout belongs to the host. */
typedef struct Adapter_Config Adapter_Config, *PAdapter_Config;

/* Answer of ZT_Adapter_Get_OEM_Data, 72 bytes, owned by the caller. */
typedef struct Adapter_OEM_Data {
    UCHAR_ rsvd0[24];                /*  0  left as the caller set it */
    _PackageVersion firmwareVersion; /* 24 */
    UCHAR_ rsvd32[40];               /* 32  cleared to 0 */
} Adapter_OEM_Data, *PAdapter_OEM_Data;
#ifdef __cplusplus
static_assert(sizeof(Adapter_OEM_Data) == 72, "Adapter_OEM_Data");
static_assert(offsetof(Adapter_OEM_Data, firmwareVersion) == 24, "firmwareVersion");
static_assert(offsetof(Adapter_OEM_Data, rsvd32) == 32, "rsvd32");
#endif

/* Request of ZT_PD_OEMData. Two bytes of it are read, none is written. */
typedef struct PD_OEM_Data {
    UCHAR_ rsvd0[6];  /*  0 */
    UCHAR_ pdId;      /*  6  the disk; its two low bits are used */
    UCHAR_ rsvd7[9];  /*  7 */
    UCHAR_ ledStatus; /* 16  0 stops the locate blink, any other value starts it */
} PD_OEM_Data, *PPD_OEM_Data;
#ifdef __cplusplus
static_assert(sizeof(PD_OEM_Data) == 17, "PD_OEM_Data");
static_assert(offsetof(PD_OEM_Data, pdId) == 6, "pdId");
static_assert(offsetof(PD_OEM_Data, ledStatus) == 16, "ledStatus");
#endif

/* One physical disk, 248 bytes. Texts are NUL terminated and keep the controller's blanks. */
typedef struct PD_Info {
    UCHAR_ rsvd0[36];
    USHORT_INT deviceId;             /*  36  PD_Config and PD_RaidStatus carry another id, hdId */
    UCHAR_ rsvd38[10];               /*  38 */
    char sasAddress[8];              /*  48  always 0 */
    UCHAR_ rsvd56[10];               /*  56 */
    UCHAR_ hdType;                   /*  66  always 0x40 */
    UCHAR_ rsvd67[5];                /*  67 */
    UNSIGNED_INTEGER featureSupport; /*  72  always 0 */
    char modelNumber[40];            /*  76 */
    char serialNumber[20];           /* 116 */
    char firmwareVersion[8];         /* 136 */
    ULONG_INT size;             /* 144  capacity in the controller's unit, which is not stated */
    UCHAR_ rsvd152[12];         /* 152 */
    UNSIGNED_INTEGER blockSize; /* 164 */
    UCHAR_ rsvd168[16];         /* 168 */
    UCHAR_ hdSsdType;           /* 184  always 1 */
    UCHAR_ rsvd185[63];         /* 185 */
} PD_Info, *PPD_Info;
#ifdef __cplusplus
static_assert(sizeof(PD_Info) == 248, "PD_Info");
static_assert(offsetof(PD_Info, deviceId) == 36, "deviceId");
static_assert(offsetof(PD_Info, sasAddress) == 48, "sasAddress");
static_assert(offsetof(PD_Info, hdType) == 66, "hdType");
static_assert(offsetof(PD_Info, featureSupport) == 72, "featureSupport");
static_assert(offsetof(PD_Info, modelNumber) == 76, "modelNumber");
static_assert(offsetof(PD_Info, serialNumber) == 116, "serialNumber");
static_assert(offsetof(PD_Info, firmwareVersion) == 136, "firmwareVersion");
static_assert(offsetof(PD_Info, size) == 144, "size");
static_assert(offsetof(PD_Info, blockSize) == 164, "blockSize");
static_assert(offsetof(PD_Info, hdSsdType) == 184, "hdSsdType");
#endif

/* Raid status of one physical disk, 8 bytes. */
typedef struct PD_RaidStatus {
    USHORT_INT hdId;   /* 0 */
    UCHAR_ rsvd2[2];   /* 2 */
    UCHAR_ raidStatus; /* 4  the controller's status byte; bit 0: online */
    UCHAR_ rsvd5[3];   /* 5 */
} PD_RaidStatus, *PPD_RaidStatus;
#ifdef __cplusplus
static_assert(sizeof(PD_RaidStatus) == 8, "PD_RaidStatus");
static_assert(offsetof(PD_RaidStatus, raidStatus) == 4, "raidStatus");
#endif

/* Configuration of one physical disk, 8 bytes. */
typedef struct PD_Config {
    UCHAR_ writeCacheOn;  /* 0  always 1 */
    UCHAR_ smartOn;       /* 1  always 1 */
    UCHAR_ online;        /* 2  1 online, 0 not */
    UCHAR_ driveSpeed;    /* 3  always 3 */
    UCHAR_ crypto;        /* 4  always 0 */
    UCHAR_ aesPercentage; /* 5  always 0 */
    USHORT_INT hdId;      /* 6 */
} PD_Config, *PPD_Config;
#ifdef __cplusplus
static_assert(sizeof(PD_Config) == 8, "PD_Config");
static_assert(offsetof(PD_Config, online) == 2, "online");
static_assert(offsetof(PD_Config, hdId) == 6, "hdId");
#endif

/* Free space of one physical disk, 16 bytes: its whole capacity, or nothing. */
typedef struct PD_FreeSpaceInfo {
    USHORT_INT deviceId;  /* 0 */
    UCHAR_ rsvd2[2];      /* 2 */
    USHORT_INT blockSize; /* 4  the low 16 bits */
    UCHAR_ rsvd6[2];      /* 6 */
    ULONG_INT size;       /* 8  in the unit of PD_Info.size; 0 for an online disk */
} PD_FreeSpaceInfo, *PPD_FreeSpaceInfo;
#ifdef __cplusplus
static_assert(sizeof(PD_FreeSpaceInfo) == 16, "PD_FreeSpaceInfo");
static_assert(offsetof(PD_FreeSpaceInfo, blockSize) == 4, "blockSize");
static_assert(offsetof(PD_FreeSpaceInfo, size) == 8, "size");
#endif

/* One row of SMART_INFO_ARRAY, 80 bytes. */
typedef struct SMART_ATTRIBUTE {
    UCHAR_ id;             /*  0  the row's own index */
    char name[64];         /*  1  NUL padded */
    UCHAR_ nameEnd;        /* 65  always 0 */
    UCHAR_ rsvd66;         /* 66 */
    UCHAR_ currentValue;   /* 67  percent, as the drive gives it; row 0: the percentage USED */
    UCHAR_ rsvd68[7];      /* 68 */
    UCHAR_ thresholdValue; /* 75  percent; 0 in row 0 */
    UCHAR_ rsvd76[4];      /* 76 */
} SMART_ATTRIBUTE, *PSMART_ATTRIBUTE;
#ifdef __cplusplus
static_assert(sizeof(SMART_ATTRIBUTE) == 80, "SMART_ATTRIBUTE");
static_assert(offsetof(SMART_ATTRIBUTE, name) == 1, "name");
static_assert(offsetof(SMART_ATTRIBUTE, nameEnd) == 65, "nameEnd");
static_assert(offsetof(SMART_ATTRIBUTE, currentValue) == 67, "currentValue");
static_assert(offsetof(SMART_ATTRIBUTE, thresholdValue) == 75, "thresholdValue");
#endif

/* Health of one physical disk, 2404 bytes. Rows 0 ("Percent Drive Life Remaining") and 1
 * ("Available Spare") are used, the other 28 are zero. */
typedef struct SMART_INFO_ARRAY {
    UCHAR_ smartStatus;             /* 0  1 if bit 5 of the disk's status byte is set, else 0x4F */
    UCHAR_ rsvd1[3];                /* 1 */
    SMART_ATTRIBUTE attributes[30]; /* 4 */
} SMART_INFO_ARRAY, *PSMART_INFO_ARRAY;
#ifdef __cplusplus
static_assert(sizeof(SMART_INFO_ARRAY) == 2404, "SMART_INFO_ARRAY");
static_assert(offsetof(SMART_INFO_ARRAY, attributes) == 4, "attributes");
#endif

/* One virtual disk, 312 bytes. */
typedef struct VD_Info {
    USHORT_INT id;              /*   0 */
    UCHAR_ status;              /*   2  the controller's status byte */
    UCHAR_ rsvd3;               /*   3 */
    USHORT_INT stripeBlockSize; /*   4 */
    UCHAR_ raidMode;            /*   6 */
    UCHAR_ hdCount;             /*   7  number of member disks */
    UCHAR_ cacheMode;           /*   8  always 1 */
    UCHAR_ rsvd9[15];           /*   9 */
    ULONG_INT size;             /*  24  in LBAs */
    char name[16];              /*  32  NUL terminated, at most 15 characters */
    UCHAR_ rsvd48[260];         /*  48 */
    UNSIGNED_INTEGER blockSize; /* 308 */
} VD_Info, *PVD_Info;
#ifdef __cplusplus
static_assert(sizeof(VD_Info) == 312, "VD_Info");
static_assert(offsetof(VD_Info, status) == 2, "status");
static_assert(offsetof(VD_Info, stripeBlockSize) == 4, "stripeBlockSize");
static_assert(offsetof(VD_Info, raidMode) == 6, "raidMode");
static_assert(offsetof(VD_Info, hdCount) == 7, "hdCount");
static_assert(offsetof(VD_Info, cacheMode) == 8, "cacheMode");
static_assert(offsetof(VD_Info, size) == 24, "size");
static_assert(offsetof(VD_Info, name) == 32, "name");
static_assert(offsetof(VD_Info, blockSize) == 308, "blockSize");
#endif

/* Configuration of one virtual disk, 24 bytes. */
typedef struct VD_Config {
    UCHAR_ cacheMode;        /*  0  always 0, whatever VD_Info shows */
    UCHAR_ hypperWaterMark;  /*  1  always 0 */
    UCHAR_ autoRebuildOn;    /*  2  always 1 */
    UCHAR_ status;           /*  3  the controller's status byte */
    USHORT_INT ldId;         /*  4 */
    UCHAR_ hyperRebuildMode; /*  6  always 0 */
    UCHAR_ rsvd7;            /*  7 */
    char name[16];           /*  8  NUL terminated, at most 15 characters */
} VD_Config, *PVD_Config;
#ifdef __cplusplus
static_assert(sizeof(VD_Config) == 24, "VD_Config");
static_assert(offsetof(VD_Config, hypperWaterMark) == 1, "hypperWaterMark");
static_assert(offsetof(VD_Config, autoRebuildOn) == 2, "autoRebuildOn");
static_assert(offsetof(VD_Config, status) == 3, "status");
static_assert(offsetof(VD_Config, ldId) == 4, "ldId");
static_assert(offsetof(VD_Config, hyperRebuildMode) == 6, "hyperRebuildMode");
static_assert(offsetof(VD_Config, name) == 8, "name");
#endif

/* Offsets inside the 304 bytes of CController, for hosts that read the record without its class.
 * Bytes not named here are reserved. */
enum CControllerOffset {
    CCONTROLLER_FIRMWARE_VERSION = 24,     /* _PackageVersion */
    CCONTROLLER_SYSTEM_IO_BUS_NUMBER = 48, /* 32 bits: image of _BDF */
    CCONTROLLER_SLOT_NUMBER = 52,          /* 32 bits, always 0 */
    CCONTROLLER_VENDOR_ID = 64,            /* 16 bits: PCI */
    CCONTROLLER_SUB_VENDOR_ID = 66,        /* 16 bits: PCI */
    CCONTROLLER_DEVICE_ID = 68,            /* 16 bits: PCI */
    CCONTROLLER_SUB_DEVICE_ID = 70,        /* 16 bits: PCI */
    CCONTROLLER_PORT_COUNT = 72,           /* 8 bits */
    CCONTROLLER_PHYSICAL_DISK_COUNT = 90,  /* 8 bits */
    CCONTROLLER_VIRTUAL_DISK_COUNT = 93,   /* 8 bits */
    CCONTROLLER_MAX_BUFFER_SIZE = 106,     /* 16 bits */
    CCONTROLLER_MAX_LINK_SPEED = 272,      /* 8 bits: PCI Express speed code, 1 is 2.5 GT/s */
    CCONTROLLER_LINK_SPEED = 273,          /* 8 bits: as above, the negotiated one */
    CCONTROLLER_MAX_LINK_WIDTH = 274,      /* 8 bits: lanes; 0 for 16 lanes and for unknown */
    CCONTROLLER_LINK_WIDTH = 275           /* 8 bits: as above, the negotiated one */
};

/* Offsets inside the 64 bytes of CEvent, for the same use. Bytes not named here are reserved. */
enum CEventOffset {
    CEVENT_CLASS = 0,        /* 16 bits: 0 adapter, 1 virtual disk, 2 physical disk */
    CEVENT_CODE = 2,         /* 16 bits: the external code of libVeskNVMeAlertMapping.ini */
    CEVENT_TIME_STAMP = 4,   /* 32 bits: the controller's number */
    CEVENT_DEVICE_ID = 8,    /* 16 bits */
    CEVENT_SEVERITY = 10,    /* 8 bits: 0 unknown, 1 other, 2 information, 3 warning, 4 minor,
                                5 major, 6 critical, 7 fatal, 255 not one of these */
    CEVENT_SEQUENCE_NO = 12, /* 32 bits */
    CEVENT_DESCRIPTION = 34  /* 30 characters, NUL terminated */
};

#ifdef __cplusplus

struct _AdapaterData;
struct _VESKPCIInfo;

/* The controller: identity, firmware, PCIe link, counts. 304 bytes, moved as raw bytes. A host may
 * call the getters on a record that ZT_Adapter_GetInfo filled. Setters store their argument. */
class CController {
public:
    CController(); /* all bytes zero */
    ~CController();

    VOID_ setVendorID(USHORT_INT vendorId);
    USHORT_INT getVendorID() const;
    VOID_ setSubVendorID(USHORT_INT subVendorId);
    USHORT_INT getSubVendorID() const;
    VOID_ setDeviceID(USHORT_INT deviceId);
    USHORT_INT getDeviceID() const;
    VOID_ setSubDeviceID(USHORT_INT subDeviceId);
    USHORT_INT getSubDeviceID() const;

    /* PCI Express encodings: speed as its code (1 is 2.5 GT/s, 2 is 5, 3 is 8, 4 is 16), width in
     * lanes. A width of 0 stands for 16 lanes as well as for an unknown link. */
    VOID_ setLinkSpeed(UCHAR_ speed);
    UCHAR_ getLinkSpeed() const;
    VOID_ setLinkWidth(UCHAR_ width);
    UCHAR_ getLinkWidth() const;
    VOID_ setMaxSpeed(UCHAR_ speed);
    UCHAR_ getMaxSpeed() const;
    VOID_ setMaxLinkWidth(UCHAR_ width);
    UCHAR_ getMaxLinkWidth() const;

    VOID_ setPortCount(UCHAR_ count);
    UCHAR_ getPortCount() const;
    VOID_ setVDCount(UCHAR_ count);
    UCHAR_ getVDCount() const;
    VOID_ setPDCount(UCHAR_ count);
    UCHAR_ getPDCount() const;

    VOID_ setMaxBufSize(USHORT_INT size);
    USHORT_INT getMaxBufSize() const;
    VOID_ setSlotNo(UNSIGNED_INTEGER slot);
    UNSIGNED_INTEGER getSlotNo() const; /* 0 in every record handed out */

    VOID_ setBDF(_BDF address); /* also logs the stored image */
    _BDF getBDF() const;
    VOID_ setFirmwareVersion(_PackageVersion version);
    _PackageVersion getFirmwareVersion() const;

    /* Fill the record from a reply of the controller, and from the PCIe link record. */
    VOID_ setAttributes(_AdapaterData* adapter);
    VOID_ setAttributes(_VESKPCIInfo* link);

    /* The version that the last setAttributes(_AdapaterData*) saw; zero before. */
    static _PackageVersion firwareVer;

private:
    friend struct CControllerLayout;

    [[maybe_unused]] UCHAR_ m_rsvd0[24];
    _PackageVersion m_firmwareVersion;
    [[maybe_unused]] UCHAR_ m_rsvd32[16];
    UNSIGNED_INTEGER m_SystemIOBusNumber;
    UNSIGNED_INTEGER m_slotNo;
    [[maybe_unused]] UCHAR_ m_rsvd56[8];
    USHORT_INT m_vendorId;
    USHORT_INT m_subVendorId;
    USHORT_INT m_deviceId;
    USHORT_INT m_subDeviceId;
    UCHAR_ m_portCount;
    [[maybe_unused]] UCHAR_ m_rsvd73[17];
    UCHAR_ m_pdCount;
    [[maybe_unused]] UCHAR_ m_rsvd91[2];
    UCHAR_ m_vdCount;
    [[maybe_unused]] UCHAR_ m_rsvd94[12];
    USHORT_INT m_maxBufSize;
    [[maybe_unused]] UCHAR_ m_rsvd108[164];
    UCHAR_ m_maxSpeed;
    UCHAR_ m_linkSpeed;
    UCHAR_ m_maxLinkWidth;
    UCHAR_ m_linkWidth;
    [[maybe_unused]] UCHAR_ m_rsvd276[28];
};

/* Sees the private members of CController in order to pin them; holds nothing. */
struct CControllerLayout {
    static_assert(sizeof(CController) == 304 && alignof(CController) == 4, "CController");
    static_assert(offsetof(CController, m_firmwareVersion) == CCONTROLLER_FIRMWARE_VERSION,
                  "m_firmwareVersion");
    static_assert(offsetof(CController, m_SystemIOBusNumber) == CCONTROLLER_SYSTEM_IO_BUS_NUMBER,
                  "m_SystemIOBusNumber");
    static_assert(offsetof(CController, m_slotNo) == CCONTROLLER_SLOT_NUMBER, "m_slotNo");
    static_assert(offsetof(CController, m_vendorId) == CCONTROLLER_VENDOR_ID, "m_vendorId");
    static_assert(offsetof(CController, m_subVendorId) == CCONTROLLER_SUB_VENDOR_ID,
                  "m_subVendorId");
    static_assert(offsetof(CController, m_deviceId) == CCONTROLLER_DEVICE_ID, "m_deviceId");
    static_assert(offsetof(CController, m_subDeviceId) == CCONTROLLER_SUB_DEVICE_ID,
                  "m_subDeviceId");
    static_assert(offsetof(CController, m_portCount) == CCONTROLLER_PORT_COUNT, "m_portCount");
    static_assert(offsetof(CController, m_pdCount) == CCONTROLLER_PHYSICAL_DISK_COUNT, "m_pdCount");
    static_assert(offsetof(CController, m_vdCount) == CCONTROLLER_VIRTUAL_DISK_COUNT, "m_vdCount");
    static_assert(offsetof(CController, m_maxBufSize) == CCONTROLLER_MAX_BUFFER_SIZE,
                  "m_maxBufSize");
    static_assert(offsetof(CController, m_maxSpeed) == CCONTROLLER_MAX_LINK_SPEED, "m_maxSpeed");
    static_assert(offsetof(CController, m_linkSpeed) == CCONTROLLER_LINK_SPEED, "m_linkSpeed");
    static_assert(offsetof(CController, m_maxLinkWidth) == CCONTROLLER_MAX_LINK_WIDTH,
                  "m_maxLinkWidth");
    static_assert(offsetof(CController, m_linkWidth) == CCONTROLLER_LINK_WIDTH, "m_linkWidth");
};

/* One event, 64 bytes, moved as raw bytes. A host may call the getters on a record that
 * ZT_EVT_GetEvent filled. */
class CEvent {
public:
    CEvent();                              /* initialises nothing */
    CEvent(const CEvent& copyObject);      /* copies nothing: move records as bytes */
    CEvent& operator=(CEvent& copyObject); /* copies nothing: move records as bytes */
    ~CEvent();

    USHORT_INT getClass();
    VOID_ setClass(USHORT_INT eventClass);
    USHORT_INT getCode();
    VOID_ setCode(USHORT_INT code);
    UNSIGNED_INTEGER getSequenceNo();
    VOID_ setSequenceNo(UNSIGNED_INTEGER sequenceNo);

private:
    friend struct CEventLayout;

    USHORT_INT m_eventClass;
    USHORT_INT m_eventCode;
    [[maybe_unused]] UNSIGNED_INTEGER m_timeStamp;
    [[maybe_unused]] USHORT_INT m_deviceId;
    [[maybe_unused]] UCHAR_ m_severity;
    [[maybe_unused]] UCHAR_ m_rsvd11;
    UNSIGNED_INTEGER m_sequenceNo;
    [[maybe_unused]] UCHAR_ m_rsvd16[18];
    [[maybe_unused]] char m_description[30];
};

/* As for CController. */
struct CEventLayout {
    static_assert(sizeof(CEvent) == 64 && alignof(CEvent) == 4, "CEvent");
    static_assert(offsetof(CEvent, m_eventClass) == CEVENT_CLASS, "m_eventClass");
    static_assert(offsetof(CEvent, m_eventCode) == CEVENT_CODE, "m_eventCode");
    static_assert(offsetof(CEvent, m_timeStamp) == CEVENT_TIME_STAMP, "m_timeStamp");
    static_assert(offsetof(CEvent, m_deviceId) == CEVENT_DEVICE_ID, "m_deviceId");
    static_assert(offsetof(CEvent, m_severity) == CEVENT_SEVERITY, "m_severity");
    static_assert(offsetof(CEvent, m_sequenceNo) == CEVENT_SEQUENCE_NO, "m_sequenceNo");
    static_assert(offsetof(CEvent, m_description) == CEVENT_DESCRIPTION, "m_description");
};

#else /* C: plain byte records of the same size and alignment, read by the offsets above */

typedef struct CController {
    UCHAR_ bytes[304];
} __attribute__((aligned(4))) CController;

typedef struct CEvent {
    UCHAR_ bytes[64];
} __attribute__((aligned(4))) CEvent;

#endif

typedef CController* PCController;
typedef CEvent* PCEvent;

/* ---- Functions ----------------------------------------------------------------------------- */

#ifdef __cplusplus
extern "C" {
#endif

/* Sets the library up: reads the configuration, switches the trace log on if it says so, looks for
 * the controller and starts event collection if there is one. Works once per process, and only as
 * the first set-up: after any other it returns ERR_NONE and does nothing, also behind a tear-down.
 * A missing controller is no failure; ask ZT_Adapter_GetCount. Throws std::out_of_range for a
 * configuration line "Debug" with nothing behind it, std::system_error if no thread can be started,
 * std::bad_alloc without memory. */
UCHAR_ ZT_API_Initialize(VOID_);

/* Tears the library down at its second call; other calls only count. The second call waits for the
 * collecting thread, up to one polling interval (50 seconds or more). Throws std::system_error if
 * there is no such thread because set-up found no controller: do not call it then. */
VOID_ ZT_API_Finalize(VOID_);

/* Sets the library up without reading the configuration: unless ZT_API_Initialize ran before, there
 * is no trace log, and the two INI files are looked for in the working directory. Every call is a
 * full start; a second start without a tear-down in between ends the process when a controller is
 * present. Throws std::system_error if no thread can be started, std::bad_alloc without memory. */
VOID_ ZNV_Library_Initialize(VOID_);

/* Tears the library down at once. Waits as ZT_API_Finalize does. Throws std::system_error where
 * there is no thread to wait for: without a controller, before set-up and behind a tear-down; and
 * std::future_error when it is called again after that. Behind one that threw, further starts in
 * this process collect no events. */
VOID_ ZNV_Library_Finalize(VOID_);

/* Number of controllers, 0 or 1, as found at set-up; 0 before it. Not an error code. */
UCHAR_ ZT_Adapter_GetCount(VOID_);

/* Delivers the number of controllers (one byte at pCount) and the controller's record (304 bytes at
 * pAdapterInfo). Without a controller the record is zero and the result ERR_NONE. */
UCHAR_ ZT_Adapter_GetInfo(UCHAR_ adapterId, UCHAR_* pCount, CController* pAdapterInfo);

/* Does nothing and returns 0. Both pointers may be null. */
UCHAR_ ZT_Adapter_GetConfig(UCHAR_ adapterId, UCHAR_* pCount, PAdapter_Config pConfig);

/* Delivers the firmware version that the last ZT_Adapter_GetInfo read (0 if there was none).
 * Writes 48 bytes from offset 24 of the 72-byte record. */
UCHAR_ ZT_Adapter_Get_OEM_Data(UCHAR_ adapterId, PAdapter_OEM_Data p_data);

/* Delivers PD_Info of all disks or of one: room for 16 + 2 * 248 bytes. A request type other than 1
 * and 2 gives ERR_FAIL and a count of 0. */
UCHAR_ ZT_PD_GetHDInfo_Ext(UCHAR_ adapterId, PInfo_Request pHdInfoReq);

/* Delivers PD_Config of all disks or of one: room for 16 + 2 * 8 bytes. A request type other than 1
 * and 2 gives ERR_FAIL and a count of 0. */
UCHAR_ ZT_PD_GetConfig(UCHAR_ adapterId, PInfo_Request pHdConfigReq);

/* Delivers PD_RaidStatus of one disk: room for 16 + 8 bytes. A request type other than 2 gives
 * ERR_INVALID_REQUEST and a count of 0. */
UCHAR_ ZT_PD_GetHDRaidStatus(UCHAR_ adapterId, PInfo_Request pHdRaidStatusReq);

/* Delivers PD_FreeSpaceInfo of one disk: room for 16 + 16 bytes. A request type other than 2 gives
 * ERR_INVALID_REQUEST and a count of 0. */
UCHAR_ ZT_PD_GetFreeSpaceInfo(UCHAR_ adapterId, PInfo_Request pHdFreeSpaceReq);

/* Delivers the health of the disk pdId: 2404 bytes. An absent disk leaves the record as it was,
 * with result ERR_NONE: clear smartStatus before the call to tell. The third argument is not used.
 */
UCHAR_ ZT_PD_GET_SMART_INFO(UCHAR_ adapterId, UCHAR_ pdId, UCHAR_ unused,
                            PSMART_INFO_ARRAY pHdSmartReq);

/* Starts or stops the locate blink of a disk's LED. Delivers no data. Throws std::bad_alloc without
 * memory for the command. */
UCHAR_ ZT_PD_OEMData(UCHAR_ adapterId, PPD_OEM_Data p_pdOEMCommand);

/* Delivers VD_Info of all virtual disks or of one: room for 16 + 2 * 312 bytes. A request type
 * other than 1 and 2 gives ERR_FAIL and a count of 0. */
UCHAR_ ZT_LD_GetInfo(UCHAR_ adapterId, PInfo_Request pVDInfo);

/* Delivers VD_Config of all virtual disks or of one: room for 16 + 2 * 24 bytes. A request type
 * other than 1 and 2 gives ERR_FAIL and a count of 0. */
UCHAR_ ZT_LD_GetConfig(UCHAR_ adapterId, PInfo_Request pLdConfigReq);

/* Delivers the events that are new since the last delivery, oldest first: their number (one byte at
 * pCount) and 64 bytes for each at pEvent, which must have room for 64 of them (4096 bytes). Moves
 * the mark of what was delivered in libVeskNVMeAlertMapping.ini. Events without an external code in
 * that file are not delivered. What does not fit comes with the polls that follow; before the next
 * poll there is nothing more. ERR_FAIL may say that the mark could not be stored or the file not be
 * read or made sense of, and that the same events will come again; or that there was no memory for
 * one of the events, which is passed over. The second argument is not used. */
UCHAR_ ZT_EVT_GetEvent(UCHAR_ adapterId, UCHAR_ unused, UCHAR_* pCount, CEvent* pEvent);

#ifdef __cplusplus
}
#endif

#endif
