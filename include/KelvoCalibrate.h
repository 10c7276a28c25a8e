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
/* Stepped-spectrum glue (automatic objects)                                */
/* ------------------------------------------------------------------------ */
/* Blocks of spectra taken at several center wavelengths are rebinned by
 * area onto the axis glueStart .. glueEnd with spacing glueStep (the
 * stepping range and double parameters 68 to 70; glueStart may exceed
 * glueEnd for a descending axis) and blended with a linear crossfade where
 * they overlap output already filled. The axis has
 * trunc(|glueEnd - glueStart| / glueStep + 1.999) points.
 * X values of a record: its calibration's table when that has exactly
 * numPoints entries, else xValues. Their unit: the record's calibration's
 * displayUnit, else the active calibration's (for an output with a
 * calibration: the current input's calibration's). Inputs need layout 1,
 * dataType 1 to 8, at least 2 points, the output's frame count, and X
 * values that are finite and strictly monotonic in either direction (also
 * after conversion to the output unit). Every glue function returns 11054
 * on a manual object and 11078 when memory runs out. Caller arrays are
 * never kept beyond the glue or freed. */

/* Checks the inputs and prepares *output: zeroes it (keeping its
 * calibration pointer; that record is reinitialised as by
 * CalibInitializeCalibration, with tableLength = point count), then sets
 * numPoints to the point count, numFrames to inputs[0].numFrames, dataType 5
 * and layout 1. The caller then supplies output data (numFrames x numPoints
 * doubles) and xValues (numPoints doubles) and calls CalibGlueInput.
 * Returns 0; 11078 inputs or output null or inputCount < 1 (nothing
 * written); 11079 glueStep below 0.0001 or fewer than 2 points (the output
 * stays zeroed); 11077 an input without X values. */
KVX_EXPORT KvxULong KVX_CALL CalibValidateGlue(CalibHandle handle,
                                               GlueSpectrum* inputs,
                                               KvxLong inputCount,
                                               GlueSpectrum* output);

/* Glues all inputs at once into an output prepared by CalibValidateGlue:
 * zeroes the output data, writes the output X values (glueStart + i x
 * glueStep, descending when glueStart > glueEnd) and merges the inputs in
 * order. An input that cannot be glued (outside the range, bad layout or
 * type) is skipped. Ends any incremental glue under way.
 * Returns 0; 11078 null/zero arguments, output without data, output
 * numPoints not the point count or numFrames < 1 (a failed check of the
 * inputs also gives 11078 unless an incremental glue under way has output
 * data); 11079; 11077 a record without X values; 11075 an input's frame
 * count differs from the output's. */
KVX_EXPORT KvxULong KVX_CALL CalibGlueInput(CalibHandle handle,
                                            GlueSpectrum* inputs,
                                            KvxLong inputCount,
                                            GlueSpectrum* output);

/* Starts an incremental glue into *output, prepared as by CalibValidateGlue
 * with numFrames frames; discards the coverage of an earlier one. The
 * caller then supplies output data and an xValues array (required, not
 * read) and calls CalibGlueIncInput for each block.
 * Returns 0; 11078 output null or numFrames < 1; 11079 (nothing written on
 * failure). */
KVX_EXPORT KvxULong KVX_CALL CalibInitIncStepAndGlue(CalibHandle handle,
                                                     GlueSpectrum* output,
                                                     KvxLong numFrames);

/* Merges one block into the output of the incremental glue. Refreshes the
 * output calibration's unitLabel and sets its valid flag. On failure the
 * output data and the coverage are unchanged.
 * Returns 0; 11074 no incremental glue started; 11078 input null, input
 * data null, fewer than 2 points or frames < 1, output not the record given
 * to CalibInitIncStepAndGlue or without data, or its numPoints changed;
 * 11075 frame counts differ; 11076 layout not 1 or dataType not 1 to 8;
 * 11077 no X values, X values not finite or not strictly monotonic, an
 * output with a calibration glued against an input without one, or a block
 * entirely outside the range. */
KVX_EXPORT KvxULong KVX_CALL CalibGlueIncInput(CalibHandle handle,
                                               GlueSpectrum* output,
                                               GlueSpectrum* input);

/* Ends the incremental glue. Returns 0; 11074 when none is under way. */
KVX_EXPORT KvxULong KVX_CALL CalibCleanupIncGlue(CalibHandle handle);

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
