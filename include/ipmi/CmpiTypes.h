// SPDX-License-Identifier: Apache-2.0
// The part of CMPI (Common Manageability Programming Interface) that this library touches. The system's own headers are
// used where they are installed; elsewhere the declarations below, binary compatible with every broker from 1.0 on.
#pragma once

#if defined(_CMPIDT_H_)
// The caller has the real declarations already.
#elif __has_include(<cmpidt.h>) || __has_include(<cmpi/cmpidt.h>)
#if !defined(CMPI_PLATFORM_LINUX_GENERIC_GNU)
#define CMPI_PLATFORM_LINUX_GENERIC_GNU
#endif
#if __has_include(<cmpidt.h>)
#include <cmpidt.h>
#include <cmpift.h>
#else
#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>
#endif
#else

extern "C" {

typedef unsigned char CMPIBoolean;
typedef unsigned int CMPICount;
typedef unsigned short CMPIType;
typedef unsigned long long CMPIUint64; // not uint64_t, which is another type with the same size

// The tags are part of the mangled names of C++ functions that take these types.
typedef struct _CMPIBroker CMPIBroker;
typedef struct _CMPIBrokerFT CMPIBrokerFT;
typedef struct _CMPIBrokerEncFT CMPIBrokerEncFT;
typedef struct _CMPIBrokerExtFT CMPIBrokerExtFT;
typedef struct _CMPIBrokerMemFT CMPIBrokerMemFT;
typedef struct _CMPIString CMPIString;
typedef struct _CMPIStringFT CMPIStringFT;
typedef struct _CMPIDateTime CMPIDateTime;
typedef struct _CMPIDateTimeFT CMPIDateTimeFT;
typedef struct _CMPIInstance CMPIInstance;
typedef struct _CMPIObjectPath CMPIObjectPath;
typedef struct _CMPIArgs CMPIArgs;
typedef struct _CMPIArray CMPIArray;
typedef struct _CMPISelectExp CMPISelectExp;

typedef enum _CMPIrc {
    CMPI_RC_OK = 0,
    CMPI_RC_ERR_FAILED = 1,
    CMPI_RC_ERR_ACCESS_DENIED = 2,
    CMPI_RC_ERR_INVALID_NAMESPACE = 3,
    CMPI_RC_ERR_INVALID_PARAMETER = 4,
    CMPI_RC_ERR_INVALID_CLASS = 5,
    CMPI_RC_ERR_NOT_FOUND = 6,
    CMPI_RC_ERR_NOT_SUPPORTED = 7,
    CMPI_RC_ERR_CLASS_HAS_CHILDREN = 8,
    CMPI_RC_ERR_CLASS_HAS_INSTANCES = 9,
    CMPI_RC_ERR_INVALID_SUPERCLASS = 10,
    CMPI_RC_ERR_ALREADY_EXISTS = 11,
    CMPI_RC_ERR_NO_SUCH_PROPERTY = 12,
    CMPI_RC_ERR_TYPE_MISMATCH = 13,
    CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
    CMPI_RC_ERR_INVALID_QUERY = 15,
    CMPI_RC_ERR_METHOD_NOT_AVAILABLE = 16,
    CMPI_RC_ERR_METHOD_NOT_FOUND = 17,
    CMPI_RC_DO_NOT_UNLOAD = 50,
    CMPI_RC_NEVER_UNLOAD = 51,
    CMPI_RC_ERR_INVALID_HANDLE = 60,
    CMPI_RC_ERR_INVALID_DATA_TYPE = 61,
    CMPI_RC_ERROR_SYSTEM = 100,
    CMPI_RC_ERROR = 200
} CMPIrc;

typedef struct _CMPIStatus {
    CMPIrc rc;
    CMPIString* msg;
} CMPIStatus;

struct _CMPIString {
    const void* hdl;
    const CMPIStringFT* ft;
};

struct _CMPIStringFT {
    int ftVersion;
    CMPIStatus (*release)(CMPIString*);
    CMPIString* (*clone)(const CMPIString*, CMPIStatus*);
    const char* (*getCharPtr)(const CMPIString*, CMPIStatus*);
};

struct _CMPIDateTime {
    const void* hdl;
    const CMPIDateTimeFT* ft;
};

struct _CMPIDateTimeFT {
    int ftVersion;
    CMPIStatus (*release)(CMPIDateTime*);
    CMPIDateTime* (*clone)(const CMPIDateTime*, CMPIStatus*);
    CMPIUint64 (*getBinaryFormat)(const CMPIDateTime*, CMPIStatus*);
    CMPIString* (*getStringFormat)(const CMPIDateTime*, CMPIStatus*);
    CMPIBoolean (*isInterval)(const CMPIDateTime*, CMPIStatus*);
};

struct _CMPIBroker {
    const void* hdl;
    const CMPIBrokerFT* bft;
    const CMPIBrokerEncFT* eft;
    const CMPIBrokerExtFT* xft;
    const CMPIBrokerMemFT* mft; // from CMPI 2.0 on: not to be read from a broker that may be older
};

struct _CMPIBrokerEncFT { // the words that every version has
    int ftVersion;
    CMPIInstance* (*newInstance)(const CMPIBroker*, const CMPIObjectPath*, CMPIStatus*);
    CMPIObjectPath* (*newObjectPath)(const CMPIBroker*, const char*, const char*, CMPIStatus*);
    CMPIArgs* (*newArgs)(const CMPIBroker*, CMPIStatus*);
    CMPIString* (*newString)(const CMPIBroker*, const char*, CMPIStatus*);
    CMPIArray* (*newArray)(const CMPIBroker*, CMPICount, CMPIType, CMPIStatus*);
    CMPIDateTime* (*newDateTime)(const CMPIBroker*, CMPIStatus*);
    CMPIDateTime* (*newDateTimeFromBinary)(const CMPIBroker*, CMPIUint64, CMPIBoolean, CMPIStatus*);
    CMPIDateTime* (*newDateTimeFromChars)(const CMPIBroker*, const char*, CMPIStatus*);
    CMPISelectExp* (*newSelectExp)(const CMPIBroker*, const char*, const char*, CMPIArray**, CMPIStatus*);
    CMPIBoolean (*classPathIsA)(const CMPIBroker*, const CMPIObjectPath*, const char*, CMPIStatus*);
    CMPIString* (*toString)(const CMPIBroker*, const void*, CMPIStatus*);
    CMPIBoolean (*isOfType)(const CMPIBroker*, const void*, const char*, CMPIStatus*);
    CMPIString* (*getType)(const CMPIBroker*, const void*, CMPIStatus*);
    CMPIString* (*getMessage)(const CMPIBroker*, const char*, const char*, CMPIStatus*, CMPICount, ...);
    CMPIStatus (*logMessage)(const CMPIBroker*, int, const char*, const char*, const CMPIString*);
    CMPIStatus (*trace)(const CMPIBroker*, int, const char*, const char*, const CMPIString*);
};

} // extern "C"

#endif
