/*
 * KelvoCalibrate: wavelength calibration for CCD detectors behind scanning
 * grating spectrographs.
 *
 * This header is the whole contract between a host application and the
 * module KelvoCalibrate.kvx. It is usable from C and C++.
 *
 * General rules
 *  - Every exported function returns a code of the enumeration NqeErrorCode;
 *    0 (NqeSuccess) is success. Nothing is thrown across the boundary and no
 *    message texts are kept: a host that shows messages keeps its own table.
 *  - Results go out through caller pointers. Where a function would read
 *    from or write through a null pointer it returns 11000 (NqeNullPointer)
 *    instead, unless its comment names another code; a pointer to a buffer
 *    that is too short cannot be detected and remains the caller's fault.
 *  - A failing call returns the first failure it meets. There is no general
 *    roll-back: where a comment says an output or a record is written before
 *    a failure, it is.
 *  - Pixels and data points are 1-based real numbers: pixel k is centred on k
 *    and spans k - 0.5 to k + 0.5. Data points equal pixels unless the X scan
 *    pattern is enabled and not empty.
 *  - Handles: the low byte is a slot index (0 to 254); CalibCreate adds the
 *    tag 0x08000000. Only the low byte is examined when a handle is checked.
 *    Every call taking a handle first answers 11021 for slot 255 and 11001
 *    for a slot that is free; those codes are not repeated below.
 *  - IDs of detectors and calibrations are opaque, non-zero 32-bit values.
 *
 * Records cross the boundary with fixed little-endian layouts. In 32-bit
 * builds they have exactly the sizes and offsets given in the comments. In
 * 64-bit builds pointer members are 8 bytes wide; see docs/record-layouts.md
 * and the KVX_PTR64 branches below. Every size and offset is checked at
 * compile time at the end of this header.
 *
 * On Windows every export is __stdcall. Eighteen exports (marked
 * "C++ export") are C++ functions whose result type is NqeErrorCode; hosts
 * resolve them by their decorated names, so they are only declared for C++.
 * Functions whose names start with Kvx are extensions of this library
 * (ordinals above 105).
 */
#ifndef KELVOCALIBRATE_H
#define KELVOCALIBRATE_H

#include <stddef.h>
#if !defined(_WIN32)
#include <stdint.h>
#endif

/* ------------------------------------------------------------------------ */
/* Platform glue                                                            */
/* ------------------------------------------------------------------------ */

#if defined(_WIN32)
#define KVX_CALL __stdcall
#else
#define KVX_CALL
#endif

/* The module exports exactly its catalogue; building it defines
 * KVX_BUILDING_MODULE so that only the declared functions become visible. */
#if !defined(_WIN32) && defined(KVX_BUILDING_MODULE)
#define KVX_EXPORT __attribute__((visibility("default")))
#else
#define KVX_EXPORT
#endif

#if defined(_WIN64) || (defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 8)
#define KVX_PTR64 1
#else
#define KVX_PTR64 0
#endif

/* The interface's long and unsigned long are 32 bits wide. */
#if defined(_WIN32)
typedef long KvxLong;
typedef unsigned long KvxULong;
#else
typedef int32_t KvxLong;
typedef uint32_t KvxULong;
#endif

/* 8-byte alignment of records holding doubles (i386 System V would use 4). */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define KVX_ALIGN8 alignas(8)
#elif defined(_MSC_VER)
#define KVX_ALIGN8 __declspec(align(8))
#elif defined(__GNUC__)
#define KVX_ALIGN8 __attribute__((aligned(8)))
#else
#define KVX_ALIGN8
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Codes                                                                    */
/* ------------------------------------------------------------------------ */

/* The numeric values are part of the binary interface. 11004, 11040, 11052
 * and 11080 are never returned. */
/* clang-format off */
enum NqeErrorCode {
  NqeSuccess = 0,
  NqeNotSupported = 5002,            /* the version query reports no version */
  NqeNoFreeHandle = 5010,            /* all 255 handle slots are taken */
  NqeNullPointer = 11000,            /* null record/array/region, or nothing to work on */
  NqeInvalidHandle = 11001,          /* slot free or without object; node allocation failed */
  NqeNoPixels = 11002,               /* the detector's number of pixels is zero */
  NqeZeroPixelSize = 11003,          /* pixel size 0.0 in automatic mode */
  NqeRegionOverlap = 11005,          /* regions overlap or are not ascending */
  NqeRegionOutOfRange = 11006,       /* region outside the detector */
  NqeDuplicateRegionId = 11007,      /* two regions with one non-zero ID */
  NqeBadRegionShape = 11008,         /* zero count/binning/groups, width not a multiple */
  NqeBadRegionSize = 11009,          /* region element size not 16 (or 16/32) bytes */
  NqeNoActiveDetector = 11010,       /* there is no active detector */
  NqeDetectorNotLoaded = 11011,      /* active detector not validated and loaded */
  NqeDetectorNotFound = 11012,       /* no detector with that ID, or none at all */
  NqeDetectorAllocFailed = 11013,    /* no new detector could be created */
  NqeRegionNotFound = 11014,         /* no region with that ID, or no regions */
  NqePixelOutsideRegions = 11015,    /* the pixel lies in no region */
  NqePointOutOfRange = 11016,        /* point position outside 1..data points */
  NqeBadDetectorSize = 11017,        /* detector record size not 176 */
  NqeRegionCountMismatch = 11018,    /* caller's region count differs */
  NqePixelCountMismatch = 11019,     /* array length differs from pixel count */
  NqeDataPointCountMismatch = 11020, /* array length differs from data points */
  NqeInvalidCalibration = 11021,     /* no active calibration; handle slot 255 */
  NqeCalibrationAllocFailed = 11022, /* object or calibration allocation failed */
  NqeCalibrationNotFound = 11023,    /* no calibration with that ID */
  NqeNoLaserLine = 11024,            /* relative wavenumbers without laser line */
  NqeBadPolyOrder = 11025,           /* polynomial order outside 1..5 */
  NqeNoCalibrationPoints = 11026,    /* no calibration point in use */
  NqeTooFewCalibrationPoints = 11027, /* points in use not above the order */
  NqeNoTable = 11028,                /* table calibration without table */
  NqeTableLengthMismatch = 11029,    /* table length differs from data points */
  NqeBadPointNumber = 11030,         /* point number outside 1..10 or slot unused */
  NqeBadCoefficientIndex = 11031,    /* coefficient cursor outside 0..4 */
  NqeBadUnit = 11032,                /* unit code not supported */
  NqeCalibrationNotValid = 11033,    /* active calibration not validated */
  NqeNotMonotonic = 11034,           /* calibration not monotonic */
  NqeZeroFactor = 11035,             /* offset-and-factor calibration, factor 0.0 */
  NqeCalibrationDisabled = 11036,    /* conversions switched off */
  NqeBadCalibrationSize = 11037,     /* calibration record / SPE block size wrong */
  NqeUnknownParameter = 11038,       /* parameter ID unknown to the function */
  NqeReadOnlyParameter = 11039,      /* the parameter cannot be set */
  NqeBadSpectrographSize = 11041,    /* spectrograph record size not 184 */
  NqeSpectrographAllocFailed = 11042, /* no new spectrograph */
  NqeSpectrographNotFound = 11043,   /* no spectrograph with that ID */
  NqeBadTurretSize = 11044,          /* turret array size not count x 140 */
  NqeBadGratingSize = 11045,         /* grating array size not count x 208 */
  NqeGrooveDensityNotSet = 11046,    /* groove density is the -1.0 marker */
  NqeBadNumber = 11047,              /* number or cursor out of range */
  NqeNoActiveSpectrograph = 11048,   /* no active spectrograph */
  NqeNoActiveTurret = 11049,         /* no active turret */
  NqeNoGrating = 11050,              /* no gratings / no active grating */
  NqeNoSpectrographSelected = 11051, /* model has no active spectrograph */
  NqeNoGratingSelected = 11053,      /* model has no active grating */
  NqeNoSpectrographModel = 11054,    /* manual object: no spectrograph model */
  NqeNoTurrets = 11055,              /* spectrograph record gives 0 turrets */
  NqeNoGratings = 11056,             /* record gives 0 gratings */
  NqeZeroFocalLength = 11057,        /* focal length 0.0 */
  NqeZeroInclusionAngle = 11058,     /* inclusion angle 0.0 */
  NqeZeroScaleFactor = 11059,        /* focal-plane scale factor 0.0 */
  NqeExitMirrorPresent = 11060,      /* spectrograph already has an exit mirror */
  NqeNoExitMirror = 11061,           /* spectrograph has no exit mirror */
  NqeGratingCountMismatch = 11062,   /* grating count differs from the turret's */
  NqePeakStartOutOfRange = 11063,    /* peak search start outside the data */
  NqeNoPeakFound = 11064,            /* no peak was found */
  NqeWavelengthUnreachable = 11065,  /* wavelength cannot be reached */
  NqeBadPointCursor = 11066,         /* point cursor outside 0..9 */
  NqeModeSetupFailed = 11067,        /* automatic-mode model not created */
  NqeInvalidMode = 11068,            /* creation mode neither 0 nor 1 */
  NqeAngleOutOfRange = 11069,        /* angle out of range */
  NqeFocalLengthOutOfRange = 11070,  /* working focal length not in (0, 10000] */
  NqeNoOptimisationData = 11071,     /* no optimisation state yet */
  NqeStepCountMismatch = 11072,      /* count differs from the number of steps */
  NqeOverlapTooLarge = 11073,        /* spectrum not wider than the overlap */
  NqeGlueNotInitialized = 11074,     /* incremental glue not started */
  NqeGlueLengthMismatch = 11075,     /* frame counts differ */
  NqeGlueBadInput = 11076,           /* input layout field not 1 */
  NqeGlueNoData = 11077,             /* no X values, or input outside the range */
  NqeGlueBadArgument = 11078,        /* null/zero argument or foreign output */
  NqeGlueTooFewSteps = 11079,        /* glue step too small or < 2 points */
  NqeBadFileVersion = 11081,         /* file format version not 1 */
  NqeNoDetectorSection = 11082,      /* no "CCD_Info" section, or no file */
  NqeBadSegment = 11083,             /* segment out of range or section missing */
  NqeNoPoints = 11084,               /* "Number_Points" is 0 */
  NqeOnePoint = 11085,               /* "Number_Points" is 1 */
  NqeBadPointPixel = 11086,          /* "Point%d_Pixel" present but empty */
  NqeBadPointWave = 11087,           /* "Point%d_Wave" present but empty */
  NqeNoPointCount = 11088,           /* "Number_Points" missing or empty */
  NqeNoFileName = 11089              /* file name pointer is null */
};
/* clang-format on */
typedef enum NqeErrorCode NqeErrorCode;

/* ------------------------------------------------------------------------ */
/* Handles, modes, units                                                    */
/* ------------------------------------------------------------------------ */

typedef KvxULong CalibHandle;

enum {
  kMaxCalibObjects = 255,     /* handle slots 0 to 254 */
  kCalibTypeTag = 0x08000000, /* OR-ed into every handle CalibCreate returns */
  CalibModeManual = 0,
  CalibModeAutomatic = 1
};

/* Unit codes of CalibrationRecord.inputUnit / displayUnit. Bit 31 is not
 * part of the unit: it marks a table calibration (KVX_CALIB_TABLE_FLAG). */
enum CalibUnit {
  CalibUnitXValue = 0,          /* "X_Value [i]": the position itself */
  CalibUnitFixedPolynomial = 1, /* input: 1 + pixel; display: position */
  CalibUnitOffsetFactor = 2,    /* input: offset + factor * pixel */
  CalibUnitPolynomial = 3,      /* display: polynomial value, no conversion */
  CalibUnitNanometers = 4,      /* "Wavelength, nm" */
  CalibUnitWavenumbers = 5,     /* "Wavenumber, cm-1" */
  CalibUnitRelativeWavenumbers = 6, /* "Relative Wavenumber, Rel cm-1" */
  CalibUnitElectronVolts = 7,       /* "Electron Volts, eV" */
  CalibUnitAngstroms = 8,           /* "Angstroms" */
  CalibUnitMicrons = 9              /* "Microns" */
};
#define KVX_CALIB_TABLE_FLAG 0x80000000u

/* ------------------------------------------------------------------------ */
/* Records                                                                  */
/* ------------------------------------------------------------------------ */

/* Region of interest along X, 16 bytes. */
typedef struct X_ROI {
  KvxLong id;         /* 0: caller-chosen ID, 0 = none */
  KvxLong startPixel; /* 4: first pixel, 1-based */
  KvxLong width;      /* 8: pixels covered, a multiple of binning */
  KvxLong binning;    /* 12: pixels per data point, non-zero */
} X_ROI;

/* Detector description, 176 bytes on every platform. */
typedef struct KVX_ALIGN8 DetectorRecord {
  KvxULong detectorId;    /* 0: written on dump, ignored on input */
  char name[128];         /* 4: NUL-terminated, kept as given */
  char reserved132[4];    /* 132: not read or written */
  double pixelSize;       /* 136: micrometres; non-zero in automatic mode */
  double secondarySize;   /* 144: kept and returned */
  KvxLong numPixels;      /* 152: pixels along X; non-zero */
  KvxLong secondaryCount; /* 156: kept and returned */
  void* regions;          /* 160: caller's X_ROI array, or null */
#if KVX_PTR64
  KvxLong regionCount; /* 168 */
  KvxLong regionBytes; /* 172: total bytes of the array at regions */
#else
  KvxLong regionCount; /* 164 */
  KvxLong regionBytes; /* 168 */
  char reserved172[4]; /* 172: not read or written */
#endif
} DetectorRecord;

/* Calibration, 528 bytes on every platform. Unused point slots hold -1.0 in
 * both position and value. */
typedef struct KVX_ALIGN8 CalibrationRecord {
  KvxLong inputUnit;        /* 0: unit of pointValue; bit 31 = table */
  KvxLong displayUnit;      /* 4: unit of results; bit 31 = table lookup */
  KvxLong polyOrder;        /* 8: 1 to 5 */
  KvxLong reserved12;       /* 12 */
  double pointPosition[10]; /* 16: data point of each calibration point */
  double pointValue[10];    /* 96: value of each point, in inputUnit */
  double coefficients[6];   /* 176: nm = sum c[i] * pixel^i */
  double laserLine;         /* 224: nm, reference of relative wavenumbers */
  KvxLong pointCount;       /* 232: slots in use, written by validation */
  char unitLabel[128];      /* 236: name of the display unit */
  char calibLabel[128];     /* 364: free text */
#if KVX_PTR64
  KvxLong tableLength; /* 492 */
  double* table;       /* 496: per-pixel values, or null */
#else
  double* table;       /* 492: per-pixel values, or null */
  KvxLong tableLength; /* 496 */
  KvxLong reserved500; /* 500 */
#endif
  double offset;                /* 504: offset-and-factor calibration */
  double factor;                /* 512 */
  unsigned char valid;          /* 520: 1 after a successful validation */
  unsigned char enabled;        /* 521: conversions refused while 0 */
  unsigned char reserved522[6]; /* 522 */
} CalibrationRecord;

/* SPE calibration block, 504 bytes. Two labels sit at odd offsets, so the
 * block is a byte buffer; the KVX_SPE_* offsets locate its fields. Bytes not
 * listed are not read on load and are zero on dump. */
typedef struct KVX_ALIGN8 SpeCalibrationBlock {
  unsigned char bytes[504];
} SpeCalibrationBlock;
#define KVX_SPE_OFFSET 0        /* double */
#define KVX_SPE_FACTOR 8        /* double */
#define KVX_SPE_DISPLAY_UNIT 16 /* int32 */
#define KVX_SPE_UNIT_LABEL 21   /* char[40] */
#define KVX_SPE_TABLE 64        /* pointer: 4 bytes, 8 in 64-bit builds */
#if KVX_PTR64
#define KVX_SPE_TABLE_LENGTH 72 /* int32 */
#else
#define KVX_SPE_TABLE_LENGTH 68 /* int32 */
#endif
#define KVX_SPE_VALID 104          /* byte */
#define KVX_SPE_INPUT_UNIT 108     /* int32 */
#define KVX_SPE_POLY_UNIT 112      /* int32, always 4 on dump */
#define KVX_SPE_POLY_ORDER 116     /* signed byte, always 1 on dump */
#define KVX_SPE_POINT_COUNT 117    /* signed byte, at most 10 */
#define KVX_SPE_POINT_POSITION 120 /* 10 doubles */
#define KVX_SPE_POINT_VALUE 200    /* 10 doubles */
#define KVX_SPE_COEFFICIENTS 280   /* 6 doubles */
#define KVX_SPE_LASER_LINE 328     /* double */
#define KVX_SPE_CALIB_LABEL 338    /* char[40] */
#define KVX_SPE_ENABLED_CODE 380   /* int32: 2 enabled, 3 disabled */
#define KVX_SPE_REGIONS 384        /* 10 x {start, width, divisor} int32 */

/* Spectrum handed to the peak search, 16 bytes on every platform. */
typedef struct SpectrumData {
  void* data;    /* 0: first sample */
  KvxLong count; /* 4 (8 in 64-bit builds): number of samples */
#if !KVX_PTR64
  KvxLong reserved8; /* 8: not read */
#endif
  KvxLong dataType; /* 12: 1 int8, 2 int16, 3 int32, 4 float, 5 double,
                       6 uint8, 7 uint16, 8 uint32 */
} SpectrumData;

/* One calibration point of a calibration point file, 16 bytes. */
typedef struct KVX_ALIGN8 CalibPoint {
  double pixel;      /* 0: "Point%d_Pixel" */
  double wavelength; /* 8: "Point%d_Wave", nm */
} CalibPoint;

/* Spectrograph, 184 bytes. */
typedef struct KVX_ALIGN8 SpectrographRecord {
  KvxLong spectrographId; /* 0 */
  KvxLong numTurrets;     /* 4: non-zero */
  KvxLong numGratings;    /* 8: gratings per turret, non-zero */
  char name[128];         /* 12 */
  char reserved140[12];   /* 140: not read */
  double focalLength;     /* 152: mm, non-zero */
  double inclusionAngle;  /* 160: degrees, non-zero */
  double detectorAngle;   /* 168: degrees */
  double scaleFactor;     /* 176: focal-plane scale factor, non-zero */
} SpectrographRecord;

/* Turret, 140 bytes; CalibLoadTurrets takes an array of them. */
typedef struct TurretRecord {
  KvxLong reserved0;   /* 0: not read */
  KvxLong turretId;    /* 4 */
  char name[128];      /* 8 */
  KvxLong numGratings; /* 136: non-zero */
} TurretRecord;

/* Grating, 208 bytes; CalibLoadGratings takes an array of them. A value of
 * 0.0 in the optics fields takes the spectrograph's (pixel width: the
 * active detector's pixel size). */
typedef struct KVX_ALIGN8 GratingRecord {
  KvxLong reserved0;        /* 0: not read */
  KvxLong gratingId;        /* 4 */
  char name[128];           /* 8 */
  double grooveDensity;     /* 136: grooves/mm; -1.0 = not set (refused) */
  double storedValue;       /* 144: kept with the grating, not used */
  double centerPixelOffset; /* 152: pixels */
  double slopeAdjust;       /* 160 */
  double focalLength;       /* 168: mm */
  double inclusionAngle;    /* 176: degrees */
  double detectorAngle;     /* 184: degrees */
  double scaleFactor;       /* 192 */
  double pixelWidth;        /* 200: micrometres */
} GratingRecord;

/* Block of spectra for the glue, 36 bytes in 32-bit builds, 56 in 64-bit
 * builds (pointer members widen; see docs/record-layouts.md). */
typedef struct GlueSpectrum {
  void* data;                     /* 0: numFrames x numPoints values */
  KvxLong numPoints;              /* 4 */
  KvxLong numFrames;              /* 8 */
  KvxLong dataType;               /* 12: as SpectrumData; output 5 */
  KvxLong layout;                 /* 16: must be 1 */
  double* xValues;                /* 20: X value of each point */
  KvxLong reserved24;             /* 24 */
  CalibrationRecord* calibration; /* 28: optional */
  KvxLong reserved32;             /* 32 */
} GlueSpectrum;

/* ------------------------------------------------------------------------ */
/* Module and handles                                                       */
/* ------------------------------------------------------------------------ */

/* Writes 200 to *count. Returns 0; 11000 for a null pointer. */
KVX_EXPORT KvxULong KVX_CALL GetDeviceCount(KvxULong* count);

/* Writes "Calibration" with its terminator (12 bytes) to name, kCalibTypeTag
 * to *typeCode and 8 to *secondCode; reserved is ignored. Returns 0; 11000
 * when a pointer is null (nothing written). */
KVX_EXPORT KvxULong KVX_CALL GetDeviceID(char* name, KvxULong* typeCode,
                                         KvxULong* secondCode,
                                         KvxULong reserved);

/* Creates a calibration object (mode CalibModeManual or CalibModeAutomatic)
 * in the lowest free slot and writes its handle to *handle.
 * Returns 0; 5010 when all 255 slots are taken (*handle not written);
 * 11068 for another mode (the handle is written and must be destroyed);
 * 11022 / 11067 when memory runs out (the slot is lost); 11000 for a null
 * handle pointer (no slot taken). */
KVX_EXPORT KvxULong KVX_CALL CalibCreate(KvxLong mode, CalibHandle* handle);

/* Destroys the object and frees the slot. The slot keeps the center
 * wavelength last set through it for the next object created there. */
KVX_EXPORT KvxULong KVX_CALL CalibDestroy(CalibHandle handle);

/* Replaces target's detectors and calibrations by one detector (the source's
 * active detector, without its regions) and one calibration (the source's
 * active calibration), both with new IDs. An automatic source gives the
 * target a fresh default spectrograph model. Returns 0 (or a handle code;
 * the target is checked first). */
KVX_EXPORT KvxULong KVX_CALL CalibCopyCalibObject(CalibHandle target,
                                                  CalibHandle source);

/* Reports no version: writes 0 to each of *a..*d that is not null and
 * returns 5002. The first argument is not examined. */
KVX_EXPORT KvxULong KVX_CALL CalibVerOfDLL(KvxULong ignored, KvxULong* a,
                                           KvxULong* b, KvxULong* c,
                                           KvxULong* d);

/* ------------------------------------------------------------------------ */
/* Detectors                                                                */
/* ------------------------------------------------------------------------ */

/* Fills a caller record with zeros. size 0 means 176.
 * Returns 0; 11017 size not 0/176; 11000 null record. */
KVX_EXPORT KvxULong KVX_CALL CalibInitializeDetector(CalibHandle handle,
                                                     void* record,
                                                     KvxLong size);

/* Checks a record without keeping anything. size 0 means 176.
 * Returns 0; 11017 size; 11000 null; 11002 numPixels 0; 11003 pixel size 0
 * in automatic mode; a region-array code (11000-11009) for its regions. */
KVX_EXPORT KvxULong KVX_CALL CalibValidateDetector(CalibHandle handle,
                                                   const void* record,
                                                   KvxLong size);

/* Replaces the active detector with the record and its regions. Codes as
 * CalibValidateDetector; then a region add code (11005-11008): the active
 * detector is then left blank, not loaded, with ID 0. */
KVX_EXPORT KvxULong KVX_CALL CalibLoadDetector(CalibHandle handle,
                                               const void* record,
                                               KvxLong size);

/* Writes the active detector into the record and its regions into the
 * record's region array (regionCount must equal the detector's region
 * counter). Returns 0; 11010 no active detector; 11011 not loaded; 11017
 * size not 176; 11018 count differs; 11009 region count 0 or element size
 * not 16/32; a validation code of the active detector. */
KVX_EXPORT KvxULong KVX_CALL CalibDumpDetector(CalibHandle handle, void* record,
                                               KvxLong size);

/* Writes the active detector's ID. Returns 0; 11010 no active detector. */
KVX_EXPORT KvxULong KVX_CALL CalibGetActiveDetectorID(CalibHandle handle,
                                                      KvxULong* id);

/* Makes the detector with that ID active. Returns 0; 11012 unknown ID. */
KVX_EXPORT KvxULong KVX_CALL CalibSetActiveDetectorID(CalibHandle handle,
                                                      KvxULong id);

/* Appends a detector loaded from the record and writes its new ID; the
 * active detector does not change. Returns 0; 11017 size not 176 (*newId
 * 0); 11013 out of memory; a load code (the blank entry stays, its ID is
 * still reported). */
KVX_EXPORT KvxULong KVX_CALL CalibAddDetector(CalibHandle handle,
                                              const void* record, KvxLong size,
                                              KvxULong* newId);

/* Removes the detector with that ID (the last one is only blanked). An
 * unknown ID changes nothing and returns 0. Returns 11012 when the store is
 * empty. */
KVX_EXPORT KvxULong KVX_CALL CalibRemoveDetectorID(CalibHandle handle,
                                                   KvxULong id);

/* ------------------------------------------------------------------------ */
/* X scan pattern and data points                                           */
/* ------------------------------------------------------------------------ */

/* Writes the number of regions of the active detector. Returns 0; 11010;
 * 11011 detector not loaded. */
KVX_EXPORT KvxULong KVX_CALL CalibNumberOfX_ROIs(CalibHandle handle,
                                                 KvxLong* count);

/* Switch the scan pattern off / on (a property of the object, not of a
 * detector). Return 0. */
KVX_EXPORT KvxULong KVX_CALL CalibDisableScanPattern(CalibHandle handle);
KVX_EXPORT KvxULong KVX_CALL CalibEnableScanPattern(CalibHandle handle);

/* Writes 1 when the scan pattern is on, else 0. Returns 0. */
KVX_EXPORT KvxULong KVX_CALL CalibGetScanState(CalibHandle handle,
                                               KvxLong* state);

/* ------------------------------------------------------------------------ */
/* Calibrations                                                             */
/* ------------------------------------------------------------------------ */

/* Fills a caller record with the default calibration (no points, units 4,
 * label "Wavelength, nm", enabled, not valid). size 0 means 528.
 * Returns 0; 11000 null record; 11037 size not 528. */
KVX_EXPORT KvxULong KVX_CALL CalibInitializeCalibration(CalibHandle handle,
                                                        void* record,
                                                        KvxLong size);

/* Checks a caller record; for point calibrations fits the polynomial. The
 * fitted coefficients, pointCount and valid are written back into the
 * caller's record. Positions are taken as pixels. size 0 means 528.
 * Returns 0; 11000; 11037; 11010 no loaded detector; 11016, 11024-11029,
 * 11032, 11034 (a table calibration that is not monotonic keeps valid 1),
 * 11035. */
KVX_EXPORT KvxULong KVX_CALL CalibValidateCalibration(CalibHandle handle,
                                                      void* record,
                                                      KvxLong size);

/* Validates the caller's record (positions taken as data points; results
 * written back), then replaces the active calibration's contents with it.
 * A table (table non-null, tableLength > 0) is copied; the caller's array
 * stays the caller's. Codes of CalibValidateCalibration; 11037 after
 * validation for size 0; 11000 when the active calibration has no record
 * (the only calibration was removed). */
KVX_EXPORT KvxULong KVX_CALL CalibLoadCalibration(CalibHandle handle,
                                                  void* record, KvxLong size);

/* Copies the active calibration into the caller's record. A table pointer
 * written is the library's own copy: valid until the object is destroyed or
 * copied over, never to be freed by the host.
 * Returns 0; 11037 size not 528; 11000 null record or no active record. */
KVX_EXPORT KvxULong KVX_CALL CalibDumpCalibration(CalibHandle handle,
                                                  void* record, KvxLong size);

/* Writes the active calibration's ID. Returns 0; 11021 none (writes 0). */
KVX_EXPORT KvxULong KVX_CALL CalibGetActiveCalibrationID(CalibHandle handle,
                                                         KvxULong* id);

/* Selects the active calibration. Returns 0; 11023 unknown ID. */
KVX_EXPORT KvxULong KVX_CALL CalibSetActiveCalibrationID(CalibHandle handle,
                                                         KvxULong id);

/* Validates the record (positions as data points; results written back) and
 * appends a copy as a new calibration; the active one does not change.
 * size 0 validates but keeps the default record. Writes the new ID (0 on
 * failure). Returns 0 or a validation code; 11001 out of memory. */
KVX_EXPORT KvxULong KVX_CALL CalibAddCalibration(CalibHandle handle,
                                                 void* record, KvxLong size,
                                                 KvxULong* newId);

/* Removes a calibration. Returns 0 only when the last calibration of a list
 * of two or more was removed or the ID is unknown; removing any other one
 * returns 11023 although it was removed. The only calibration is kept as an
 * empty node (11023). */
KVX_EXPORT KvxULong KVX_CALL CalibRemoveCalibrationID(CalibHandle handle,
                                                      KvxULong id);

/* Calibrated value of a data point (manual mode: the active calibration).
 * Returns 0; 11010/11011; 11000; 11033 not valid; 11036 disabled; 11024 /
 * 11032 from the unit conversion. */
KVX_EXPORT KvxULong KVX_CALL CalibDataPointToCalibValue(CalibHandle handle,
                                                        double dataPoint,
                                                        double* value);

/* Data point of a calibrated value; values outside the calibrated range
 * give the ends of the detector. Codes as CalibCalibValueToPixel, then
 * 11015 for a pixel outside every region (the data points before it are
 * written). */
KVX_EXPORT KvxULong KVX_CALL CalibCalibValueToDataPoint(CalibHandle handle,
                                                        double value,
                                                        double* dataPoint);

/* Calibrated value of every data point 1..count into values.
 * Returns 0; 11020 count differs from the number of data points (nothing
 * written); the first conversion failure (later elements not written). */
KVX_EXPORT KvxULong KVX_CALL CalibCalibratedDataPointArray(CalibHandle handle,
                                                           KvxLong count,
                                                           double* values);

/* Tests the fit at calibration point pointNumber (1-10): writes the point's
 * value in the input unit, the fitted value and (reference - fitted) /
 * reference. Returns 0; 11000; 11033; 11030 bad or unused point; a unit
 * conversion code. Input units outside 3..9 write nothing and return 0. */
KVX_EXPORT KvxULong KVX_CALL CalibTestCalibPointFit(CalibHandle handle,
                                                    KvxLong pointNumber,
                                                    double* reference,
                                                    double* fitted,
                                                    double* relativeError);

/* Root of the summed squared relative errors of the used points. The point
 * numbers tested are the slot indexes themselves (slot i tests point i,
 * i.e. slot i - 1). Returns 0 or a validation code (result untouched). */
KVX_EXPORT KvxULong KVX_CALL CalibTestCalibrationFit(CalibHandle handle,
                                                     double* result);

/* ------------------------------------------------------------------------ */
/* Calibration point files                                                  */
/* ------------------------------------------------------------------------ */
/* An initialisation-style text file: section "CCD_Info" with "Num_Segments",
 * sections "Seg%d_Pixel_Calib" with "Number_Points", "Point%d_Pixel" and
 * "Point%d_Wave". The only accepted version is 1 (low 16 bits). Relative
 * file names are taken relative to the current directory, except on Windows
 * where the platform's profile functions look in the Windows directory. */

/* Installs segment `segment` as the active calibration: order
 * min(points - 1, 2), values + wavelengthOffset nm, laser line laserLine.
 * Segments of more than 10 points are refused with 11083.
 * Returns 0; 11089 null name; 11081 version; 11083 segment out of range
 * (also for a missing file); 11082; 11088; 11084; 11085; 11086 / 11087 a
 * point key missing or empty; any CalibLoadCalibration code. */
KVX_EXPORT KvxULong KVX_CALL CalibLoadCalibFile(CalibHandle handle,
                                                const char* fileName,
                                                short version, KvxLong segment,
                                                double wavelengthOffset,
                                                double laserLine);

/* No handle. Writes "Num_Segments" (0 when missing). Returns 0; 11089;
 * 11081; 11000 numSegments null; 11082 no "CCD_Info" section (or no
 * file). */
KVX_EXPORT KvxULong KVX_CALL CalibGetNumSegments(const char* fileName,
                                                 short version,
                                                 KvxLong* numSegments);

/* No handle. Writes "Number_Points" of a segment. Returns 0; 11089; 11081;
 * 11000 numPoints null; 11083 section missing; 11088 key missing or
 * empty. */
KVX_EXPORT KvxULong KVX_CALL CalibGetNumPoints(const char* fileName,
                                               short version, KvxLong segment,
                                               KvxLong* numPoints);

/* No handle. Reads up to maxPoints points of a segment into points (a
 * missing point key reads as 0). Returns 0; 11089; 11081; 11083; 11082;
 * 11088; 11084; 11085; 11000 points null while points are to be written;
 * 11086 / 11087 a point key present but empty (the points before it stay
 * written). */
KVX_EXPORT KvxULong KVX_CALL CalibLoadCalibPoints(const char* fileName,
                                                  short version,
                                                  KvxLong segment,
                                                  CalibPoint* points,
                                                  KvxLong maxPoints);

/* ------------------------------------------------------------------------ */
/* SPE calibration blocks                                                   */
/* ------------------------------------------------------------------------ */
/* A 504-byte SpeCalibrationBlock (KVX_SPE_* offsets) carries a calibration
 * and up to 10 regions of the active detector. Load and dump are
 * deliberately not inverses: the load reads region k (start, width, divisor)
 * as startPixel start - 1, binning width / divisor, numGroups divisor; the
 * dump writes (startPixel, numGroups * binning, binning). The polynomial
 * order is always 1 in both directions. */

/* Makes the block the active calibration and the active detector's scan
 * pattern. The record is built from the block: order 1 whatever the block
 * holds, point count lowered to 10 (a negative count stays), enabled unless
 * the enabled code is 3, the first 40 bytes of both labels. A table needs a
 * non-null pointer and a length above 0 (a negative length loads as no
 * table); its doubles are copied, the host's array stays the host's. The
 * record is validated (fitting off, positions as pixels); then the regions
 * replace the scan pattern, list ending at the first start of 0: each
 * region first sets the detector's pixel count to start + width, and the
 * count stays at the last region's end; a block without regions empties the
 * pattern (pixel count unchanged). Last, the active calibration's record is
 * replaced in place.
 * Returns 0; 11037 size not 504; 11010 no active detector; 11000 null block
 * or no active calibration record; every code of CalibValidateCalibration
 * (nothing changed); 11008 a region with divisor 0 or no pixels per group,
 * 11006 a region outside the detector (start 1 or below, or an end that
 * overflows), 11005 overlapping regions (each with the old scan pattern, its
 * count and the pixel count restored and the calibration unchanged); 11022
 * when memory runs out. */
KVX_EXPORT KvxULong KVX_CALL CalibLoadSPECalibration(CalibHandle handle,
                                                     void* block, KvxLong size);

/* Fills the caller's block from the active calibration and the active
 * detector's first 10 regions; bytes of no field are zero. Point values in
 * angstroms or microns (inputUnit exactly 8 or 9) are written in nanometres
 * with input unit 4; a display unit 8 or 9 is written as 4 (label
 * unchanged); polynomial unit 4 and order 1 always; enabled code 2 or 3.
 * A table (non-null, length above 0) is handed out as a NEW array owned by
 * the host from then on: release it with KvxFreeSPECalibrationTable. In
 * 64-bit builds the pointer takes bytes 64 to 71 and the length moves to
 * 72 (KVX_SPE_TABLE_LENGTH).
 * Returns 0; 11037 size not 504 (nothing written); 11000 null block or no
 * active calibration record; 11032 / 11024 when the last unit conversion
 * failed (the block is still written); 11022 when memory runs out (nothing
 * written). */
KVX_EXPORT KvxULong KVX_CALL CalibDumpSPECalibration(CalibHandle handle,
                                                     void* block, KvxLong size);

/* Extension (ordinal 106). No handle. Releases the table that
 * CalibDumpSPECalibration handed out in this block and sets the block's
 * table pointer and length to 0. A null table pointer is allowed. Only
 * pointers written by a dump may be released this way, once.
 * Returns 0; 11037 size not 504; 11000 null block. */
KVX_EXPORT KvxULong KVX_CALL KvxFreeSPECalibrationTable(void* block,
                                                        KvxLong size);

/* ------------------------------------------------------------------------ */
/* Peaks                                                                    */
/* ------------------------------------------------------------------------ */
/* Peaks are found on the curvature c[k] = 2 d[k] - d[k-2] - d[k+2] (indexes
 * clamped to the data) of the samples d, above a threshold of
 * peakThresholdPercent (parameter, default 2.0) percent of the largest
 * curvature. A peak's position is the data point (1-based, fractional)
 * where its area above a straight baseline between the curvature valleys
 * around it is split in half. A spectrum without samples (data null or
 * count 0 or below) is success with nothing written. Samples of an unknown
 * dataType are taken as zeros (no peak). */

/* Finds the peaks of the spectrum and keeps the strongest maxPeaks of them
 * (by curvature; on equal strength the earlier one goes first) in the order
 * they were found. Writes every one of the maxPeaks slots: the positions
 * (0.0 in slots not filled) and in values the calibrated value of each
 * position through the active calibration's own record (also in automatic
 * mode; conversion codes are ignored and a failed conversion leaves the
 * slot's peak height). *peakCount receives the number of all peaks found,
 * also those not kept. maxPeaks 0 or below only counts.
 * Returns 0; 11000 null spectrum, null peakCount, or a null array while
 * maxPeaks is above 0 (nothing written); 11022 when memory for the samples
 * runs out (nothing written). */
KVX_EXPORT KvxULong KVX_CALL CalibFindPeaks(CalibHandle handle,
                                            SpectrumData* spectrum,
                                            double* positions, double* values,
                                            KvxLong maxPeaks,
                                            KvxLong* peakCount);

/* Writes the position of the peak nearest to the data point start (taken
 * truncated): the peak start lies on, else the closer of the next and the
 * previous peak, the next one on equal distance. When no valley closes the
 * peak, 0.0 is written.
 * Returns 0; 11000 null spectrum or position; 11063 start outside 1 to
 * count + 1 (exclusive), also NaN; 11064 no peak on either side; 11022
 * when memory for the samples runs out. */
KVX_EXPORT KvxULong KVX_CALL CalibFindNearestPeak(CalibHandle handle,
                                                  SpectrumData* spectrum,
                                                  double start,
                                                  double* position);

#ifdef __cplusplus
} /* extern "C" */

/* ------------------------------------------------------------------------ */
/* C++ exports (decorated names; result type NqeErrorCode)                  */
/* ------------------------------------------------------------------------ */

/* Adds one region to the active detector, keeping the list sorted.
 * Returns 0; 11000 null region; 11008 zero binning or no data point;
 * 11010; 11006 outside the detector; 11007 duplicate ID; 11005 overlap (the
 * detector is then marked not loaded). */
KVX_EXPORT NqeErrorCode KVX_CALL CalibAddX_ROI(CalibHandle handle,
                                               X_ROI* region);

/* Calibrated value of every pixel 1..count into values. Returns 0; 11019
 * count differs from the pixel count (nothing written); the first failure.
 */
KVX_EXPORT NqeErrorCode KVX_CALL CalibCalibratedPixelArray(CalibHandle handle,
                                                           KvxLong count,
                                                           double* values);

/* Pixel of a calibrated value, clamped to 0.5 .. N + 0.5. Returns 0; 11002
 * no pixels or no active detector; a conversion code. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibCalibValueToPixel(CalibHandle handle,
                                                        double value,
                                                        double* pixel);

/* Pixel of a data point. Beyond the last region the input is returned.
 * Returns 0; 11010; 11011. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibDataPointToPixel(CalibHandle handle,
                                                       double dataPoint,
                                                       double* pixel);

/* Deletes every region of the active detector. Returns 0; 11000 none. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibDeleteScanPattern(CalibHandle handle);

/* Copies up to count regions out as X_ROI; count must equal the region
 * counter (0 after a pattern load). Returns 0; 11010; 11011; 11018; a
 * validation code of the active detector. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibDumpXScanPattern(CalibHandle handle,
                                                       void* regions,
                                                       KvxLong count);

/* Replaces the regions by count X_ROI elements. On failure the old regions
 * are back. Returns 0; a validation code of the current detector; a region
 * add code. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibLoadXScanPattern(CalibHandle handle,
                                                       void* regions,
                                                       KvxLong count);

/* Calibrated value of a pixel. Returns 0; 11000; 11033; 11036; 11015 (table
 * calibration, pixel outside the regions); 11024 / 11032. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibPixelToCalibValue(CalibHandle handle,
                                                        double pixel,
                                                        double* value);

/* Data point of a pixel. Returns 0; 11010; 11011; 11015 pixel outside every
 * region (the data points before it are written). */
KVX_EXPORT NqeErrorCode KVX_CALL CalibPixelToDataPoint(CalibHandle handle,
                                                       double pixel,
                                                       double* dataPoint);

/* Removes the region with that ID. The regions ahead of it in the list
 * leave the pattern too, and an unknown ID empties the pattern (11014).
 * Returns 0; 11010; 11014. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibRemoveX_ROI(CalibHandle handle,
                                                  KvxLong id);

/* Copies the region with that ID out. Returns 0; 11010; 11011; 11014; 11009
 * size not 16. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibRetrieveX_ROI(CalibHandle handle,
                                                    KvxLong id, X_ROI* region,
                                                    KvxLong size);

/* Checks an array of regions against a pixel count; keeps nothing.
 * Returns 0; 11000 null; 11008 count 0 / binning 0 / width not a multiple;
 * 11002 numPixels 0; 11009 regionBytes / count not 16; 11006; 11005. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibValidateXScanPattern(CalibHandle handle,
                                                           X_ROI* regions,
                                                           KvxLong regionBytes,
                                                           KvxLong count,
                                                           KvxLong numPixels);
#endif /* __cplusplus */

/* ------------------------------------------------------------------------ */
/* Layout checks                                                            */
/* ------------------------------------------------------------------------ */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define KVX_STATIC_ASSERT(c, m) static_assert(c, m)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define KVX_STATIC_ASSERT(c, m) _Static_assert(c, m)
#endif

#ifdef KVX_STATIC_ASSERT
#define KVX_AT(T, f, o) KVX_STATIC_ASSERT(offsetof(T, f) == (o), #T "." #f)
KVX_STATIC_ASSERT(sizeof(KvxLong) == 4 && sizeof(KvxULong) == 4, "long");
KVX_STATIC_ASSERT(sizeof(enum NqeErrorCode) == 4, "code");
KVX_STATIC_ASSERT(sizeof(X_ROI) == 16, "X_ROI");
KVX_AT(X_ROI, binning, 12);
KVX_STATIC_ASSERT(sizeof(DetectorRecord) == 176, "DetectorRecord");
KVX_AT(DetectorRecord, name, 4);
KVX_AT(DetectorRecord, pixelSize, 136);
KVX_AT(DetectorRecord, secondarySize, 144);
KVX_AT(DetectorRecord, numPixels, 152);
KVX_AT(DetectorRecord, secondaryCount, 156);
KVX_AT(DetectorRecord, regions, 160);
KVX_STATIC_ASSERT(sizeof(CalibrationRecord) == 528, "CalibrationRecord");
KVX_AT(CalibrationRecord, polyOrder, 8);
KVX_AT(CalibrationRecord, pointPosition, 16);
KVX_AT(CalibrationRecord, pointValue, 96);
KVX_AT(CalibrationRecord, coefficients, 176);
KVX_AT(CalibrationRecord, laserLine, 224);
KVX_AT(CalibrationRecord, pointCount, 232);
KVX_AT(CalibrationRecord, unitLabel, 236);
KVX_AT(CalibrationRecord, calibLabel, 364);
KVX_AT(CalibrationRecord, offset, 504);
KVX_AT(CalibrationRecord, factor, 512);
KVX_AT(CalibrationRecord, valid, 520);
KVX_AT(CalibrationRecord, enabled, 521);
KVX_STATIC_ASSERT(sizeof(SpeCalibrationBlock) == 504, "SpeCalibrationBlock");
/* The table pointer fits between its offset and the length, the length
 * before the valid byte; in 64-bit builds the pointer is 8-byte aligned. */
KVX_STATIC_ASSERT(KVX_SPE_TABLE % sizeof(void*) == 0, "SPE table alignment");
KVX_STATIC_ASSERT(KVX_SPE_TABLE + sizeof(void*) <= KVX_SPE_TABLE_LENGTH,
                  "SPE table pointer");
KVX_STATIC_ASSERT(KVX_SPE_TABLE_LENGTH + 4 <= KVX_SPE_VALID,
                  "SPE table length");
KVX_STATIC_ASSERT(KVX_SPE_REGIONS + 120 == 504, "SPE regions");
KVX_STATIC_ASSERT(sizeof(SpectrumData) == 16, "SpectrumData");
KVX_AT(SpectrumData, dataType, 12);
KVX_STATIC_ASSERT(sizeof(CalibPoint) == 16, "CalibPoint");
KVX_AT(CalibPoint, wavelength, 8);
KVX_STATIC_ASSERT(sizeof(SpectrographRecord) == 184, "SpectrographRecord");
KVX_AT(SpectrographRecord, name, 12);
KVX_AT(SpectrographRecord, focalLength, 152);
KVX_AT(SpectrographRecord, scaleFactor, 176);
KVX_STATIC_ASSERT(sizeof(TurretRecord) == 140, "TurretRecord");
KVX_AT(TurretRecord, turretId, 4);
KVX_AT(TurretRecord, numGratings, 136);
KVX_STATIC_ASSERT(sizeof(GratingRecord) == 208, "GratingRecord");
KVX_AT(GratingRecord, grooveDensity, 136);
KVX_AT(GratingRecord, centerPixelOffset, 152);
KVX_AT(GratingRecord, pixelWidth, 200);
#if KVX_PTR64
KVX_AT(DetectorRecord, regionCount, 168);
KVX_AT(DetectorRecord, regionBytes, 172);
KVX_AT(CalibrationRecord, tableLength, 492);
KVX_AT(CalibrationRecord, table, 496);
KVX_AT(SpectrumData, count, 8);
KVX_STATIC_ASSERT(sizeof(GlueSpectrum) == 56, "GlueSpectrum");
KVX_AT(GlueSpectrum, numPoints, 8);
KVX_AT(GlueSpectrum, layout, 20);
KVX_AT(GlueSpectrum, xValues, 24);
KVX_AT(GlueSpectrum, calibration, 40);
KVX_AT(GlueSpectrum, reserved32, 48);
#else
KVX_AT(DetectorRecord, regionCount, 164);
KVX_AT(DetectorRecord, regionBytes, 168);
KVX_AT(CalibrationRecord, table, 492);
KVX_AT(CalibrationRecord, tableLength, 496);
KVX_AT(SpectrumData, count, 4);
KVX_STATIC_ASSERT(sizeof(GlueSpectrum) == 36, "GlueSpectrum");
KVX_AT(GlueSpectrum, numPoints, 4);
KVX_AT(GlueSpectrum, layout, 16);
KVX_AT(GlueSpectrum, xValues, 20);
KVX_AT(GlueSpectrum, calibration, 28);
KVX_AT(GlueSpectrum, reserved32, 32);
#endif
#undef KVX_AT
#endif /* KVX_STATIC_ASSERT */

#endif /* KELVOCALIBRATE_H */
