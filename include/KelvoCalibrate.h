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
  NqeSuccess = 0,                    /* the call succeeded */
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
  NqeNoFileName = 11089,             /* file name pointer is null */
  NqeFitNotConverged = 11100,        /* extension: a least-squares fit did not converge */
  NqeAutocalTooFewPeaks = 11120,     /* extension: a lamp spectrum has too few peaks */
  NqeAutocalNoMatch = 11121,         /* extension: peaks match no consistent set of lamp lines */
  NqeLampListUnreadable = 11122      /* extension: lamp-line list unreadable, or element not in it */
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
/* Spectrograph hardware (automatic mode)                                   */
/* ------------------------------------------------------------------------ */
/* An automatic object's model keeps spectrographs, each with turrets, each
 * turret with gratings; one of each is active. Every function of this
 * family returns 11054 on a manual object before anything else. IDs of
 * loaded spectrographs, turrets and gratings are the records' IDs. */

/* Replaces the active spectrograph by the record: its turrets (and
 * gratings) are freed, the active turret and grating become none, and the
 * spectrographs after it in the list are dropped while the spectrograph
 * count stays. Its position becomes 1 and its ID the record's. size 0
 * means 184. Returns 0; 11041 size; 11000 null record; 11055 turrets 0;
 * 11056 gratings 0; 11057 focal length 0.0; 11058 inclusion angle 0.0;
 * 11059 scale factor 0.0 (nothing changed on any of these); 11048 no active
 * spectrograph. */
KVX_EXPORT KvxULong KVX_CALL CalibLoadSpectrograph(CalibHandle handle,
                                                   const void* record,
                                                   KvxLong size);

/* Writes the active spectrograph's ID. Returns 0; 11051 none (*id
 * untouched); 11000 null id. */
KVX_EXPORT KvxULong KVX_CALL CalibGetActiveSpectrographID(CalibHandle handle,
                                                          KvxULong* id);

/* Makes the spectrograph with that ID active; the active turret and grating
 * do not change. Returns 0; 11043 unknown ID or no spectrographs. */
KVX_EXPORT KvxULong KVX_CALL CalibSetActiveSpectrographID(CalibHandle handle,
                                                          KvxULong id);

/* Appends a spectrograph loaded from the record (as CalibLoadSpectrograph)
 * and writes its new ID to *newId. The ID written is a fresh one, while the
 * spectrograph takes the record's ID: it is found by the written ID only
 * when the record carried that value. Afterwards the active spectrograph is
 * the one active before, with no active turret or grating; the new
 * spectrograph has no turrets. Returns 0; 11041 size not 184 (0 refused;
 * *newId 0); 11000 null newId (nothing added); 11042 out of memory (*newId
 * 0); a load code (the new spectrograph stays with its default turret and
 * grating, *newId written). */
KVX_EXPORT KvxULong KVX_CALL CalibAddSpectrograph(CalibHandle handle,
                                                  const void* record,
                                                  KvxLong size,
                                                  KvxULong* newId);

/* Removes the spectrograph with that ID with its turrets and gratings; the
 * active turret and grating become none; the first spectrograph becomes
 * active if the removed one was. The last spectrograph is never removed,
 * only emptied of its turrets. Returns 0, also for an unknown ID; 11043 no
 * spectrographs. */
KVX_EXPORT KvxULong KVX_CALL CalibRemoveSpectrographID(CalibHandle handle,
                                                       KvxULong id);

/* Replaces the active spectrograph's turrets by count TurretRecords (size
 * in bytes = count x 140); the first becomes active. The new turrets have
 * no gratings until CalibLoadGratings. Returns 0; 11044 size (nothing
 * changed); 11048 no active spectrograph; 11000 null array; 11056 a turret
 * with 0 gratings (the old turrets stay, the first becomes active, yet the
 * turret count becomes count). */
KVX_EXPORT KvxULong KVX_CALL CalibLoadTurrets(CalibHandle handle,
                                              const void* turrets, KvxLong size,
                                              KvxLong count);

/* Makes turret turretNumber (1-based) of the active spectrograph active; the
 * active grating becomes none. Returns 0; 11048 no active spectrograph;
 * 11047 number out of range or not found; 11049 no turrets. */
KVX_EXPORT KvxULong KVX_CALL CalibSelectTurret(CalibHandle handle,
                                               KvxLong turretNumber);

/* Replaces the active turret's gratings by count GratingRecords (size in
 * bytes = count x 208); optics left at 0.0 take the active spectrograph's,
 * a pixel width of 0.0 the active detector's pixel size. With an exit
 * mirror each grating is followed by its side-exit copy at positions count
 * + 1 to 2 x count. The first grating becomes active; nothing is installed.
 * Returns 0; 11045 size; 11049 no active turret; 11062 count differs from
 * the turret's number of gratings; 11000 null array; 11046 groove density
 * -1.0 (the old gratings stay, the first becomes active). */
KVX_EXPORT KvxULong KVX_CALL CalibLoadGratings(CalibHandle handle,
                                               const void* gratings,
                                               KvxLong size, KvxLong count);

/* Makes grating gratingNumber (1-based) of the active turret active (its
 * side-exit copy while the exit mirror is in position 1) and installs its
 * optics; the detector's geometry and pixel size are read anew. Returns 0;
 * 11048; 11049 no active turret; 11047 number out of range or not found;
 * 11050 the turret has no gratings; a detector code (11000, 11002, 11003,
 * 11005, 11006, 11007); 11000 no active calibration. */
KVX_EXPORT KvxULong KVX_CALL CalibSelectGrating(CalibHandle handle,
                                                KvxLong gratingNumber);

/* Gives the active spectrograph a side exit: a new blank detector and a new
 * default calibration (neither active) and side-exit copies of every
 * turret's gratings. Returns 0; 11048; 11060 mirror already present; 11013
 * / 11022 out of memory; 11062 a turret whose gratings differ from its
 * declared number (the walk stops there; the mirror stays). */
KVX_EXPORT KvxULong KVX_CALL CalibAddExitMirror(CalibHandle handle);

/* Does nothing: an exit mirror, once added, stays. Returns 0. */
KVX_EXPORT KvxULong KVX_CALL CalibRemoveExitMirror(CalibHandle handle);

/* Switches the exit port: position 0 makes the main-exit detector and
 * calibration active, any other value the side-exit ones (grating
 * selection picks the side-exit copies only for position 1). Returns 0;
 * 11048; 11061 no exit mirror; 11012 / 11023 the port's detector or
 * calibration no longer exists. */
KVX_EXPORT KvxULong KVX_CALL CalibSetExitMirrorPosition(CalibHandle handle,
                                                        KvxLong position);

/* ------------------------------------------------------------------------ */
/* Dispersion target data and optimisation (automatic mode)                 */
/* ------------------------------------------------------------------------ */
/* Two known lines are each measured near the left and the right edge of the
 * active pixel range (target slots 1 and 2: the first line, 3 and 4: the
 * second). The host sets the spectrograph to each slot's target center
 * (CalibGetTargetWaveLength), finds the line and stores its pixel with
 * CalibSetRefCursorPosition; CalibOptimizeSpectrograph then searches focal
 * length, detector angle and inclusion angle so that the grating model
 * predicts the lines at the measured pixels. The objective of a parameter
 * set is the mean of the four wavelength errors with the worst counted
 * twice, in nm; its pixel error is the objective divided by the nm per
 * pixel halfway between the two lines. Every function below returns 11054
 * on a manual object. */

/* Proposes the four measurements: slots 1 and 3 expect their line at
 * (first + last active pixel) / 2 - 0.45 x active width, slots 2 and 4 at
 * + 0.45 x width; each slot gets the center that puts its line there (up
 * to 10 iterations, to 1e-05 nm) and the target center, the wavelength the
 * active range's center then shows.
 * Returns 0; 11065 / 11069 a line beyond the rotation limit (nothing
 * changed); a detector code (11010, 11011, 11006) for the active range (the
 * target wavelengths and the slots before it are then already written). */
KVX_EXPORT KvxULong KVX_CALL CalibCalcDispersionTargetData(CalibHandle handle,
                                                           double firstLine,
                                                           double secondLine);

/* Optimises against the target slots. Every call replaces the optimisation
 * state; the search bounds are 0.75..1.25 x the working focal length (steps
 * of 0.2 mm), the spectrograph's default detector angle +-10 degrees (steps
 * of 0.05) and 0.9..1.1 x its default inclusion angle (steps of 0.05). The
 * model's working optics do not change: install a set explicitly.
 * Writes the best focal length, inclusion angle, detector angle, objective
 * and pixel error; when any pointer is null nothing is written and 0 is
 * returned (the results stay readable through CalibGetOptimDispParams).
 * Returns 0; the codes of CalibValidateSpecOptStruct (nothing written);
 * 11069 also for spectrograph default angles beyond +-360 degrees; 11048
 * no active spectrograph; 11065 from the pixel error (pixelError -1.0);
 * 11071 when no memory is left for the optimisation state (the previous
 * state stays). */
KVX_EXPORT KvxULong KVX_CALL CalibOptimizeSpectrograph(
    CalibHandle handle, double* focalLength, double* inclusionAngle,
    double* detectorAngle, double* objective, double* pixelError);

/* Writes the initial parameter set of the last optimisation with its
 * objective and pixel error (-1.0 when not computable).
 * Returns 0; 11071 no optimisation yet; 11000 a null pointer (nothing
 * written); 11065 from the pixel error. */
KVX_EXPORT KvxULong KVX_CALL CalibGetOrigDispParams(
    CalibHandle handle, double* focalLength, double* inclusionAngle,
    double* detectorAngle, double* objective, double* pixelError);

/* Writes the focal length, inclusion angle and detector angle the scans
 * ended on (not the best ones: after a full scan the initial focal length,
 * the last search's best detector angle and an inclusion angle one step
 * below the lower bound), with the best objective and the best set's pixel
 * error. Hosts rely on this; CalibOptimizeSpectrograph and
 * CalibInstallOptimDispParams give the best set.
 * Returns as CalibGetOrigDispParams. */
KVX_EXPORT KvxULong KVX_CALL CalibGetOptimDispParams(
    CalibHandle handle, double* focalLength, double* inclusionAngle,
    double* detectorAngle, double* objective, double* pixelError);

/* Installs the initial set into the working optics and the active grating
 * and writes its objective and pixel error. The effective center is not
 * recomputed; the next center setting uses the installed optics.
 * Returns 0; 11071 no optimisation yet; 11000 a null pointer (nothing
 * installed); 11065 from the pixel error (the set is installed). */
KVX_EXPORT KvxULong KVX_CALL CalibInstallOrigDispParams(CalibHandle handle,
                                                        double* objective,
                                                        double* pixelError);

/* The same with the best set of the last optimisation. */
KVX_EXPORT KvxULong KVX_CALL CalibInstallOptimDispParams(CalibHandle handle,
                                                         double* objective,
                                                         double* pixelError);

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
 * never kept beyond the glue or freed.
 * A block's first output cell is found by dividing its distance from
 * glueStart by glueStep and truncating. With a step that is not a binary
 * fraction (0.1 nm, say) the quotient can fall a hair below a whole number
 * and the block then lands one cell lower; steps such as 0.125 or 0.0625 nm
 * with a glueStart on the grid place every block exactly. */

/* Checks the inputs and prepares *output: zeroes it (keeping its
 * calibration pointer; that record is reinitialised as by
 * CalibInitializeCalibration, with tableLength = point count), then sets
 * numPoints to the point count, numFrames to inputs[0].numFrames, dataType 5
 * and layout 1. The caller then supplies output data (numFrames x numPoints
 * doubles) and xValues (numPoints doubles) and calls CalibGlueInput.
 * Returns 0; 11078 inputs or output null or inputCount < 1 (nothing
 * written); 11079 glueStep below 0.0001 (or NaN), fewer than 2 points or
 * more than 2^31 - 1 (the output stays zeroed); 11077 an input without X
 * values. */
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

/* ------------------------------------------------------------------------ */
/* Parameters                                                               */
/* ------------------------------------------------------------------------ */
/* Single fields of an object read and written by numeric ID. Each ID has one
 * type: I (CalibSetIntParam / CalibGetIntParam), D (CalibSetDoubleParam /
 * CalibGetDoubleParam), S (CalibSetStrParam / CalibGetStrParam); A marks the
 * IDs of CalibSetDoubleArray. An ID used with a function of another type, or
 * with a direction the comment does not name (W write, R read), answers
 * 11038. IDs marked "model" answer 11054 on a manual object before anything
 * else. "Detector" is the active detector, "record" the active calibration;
 * without one, 11010 and 11021. Integer IDs 3 to 9 may be written (no effect,
 * 0) but not read; ID 10 is written and read without effect (0, nothing
 * written). IDs 25, 32, 34 and 75 are unused. */
/* clang-format off */
enum CalibParam {
  CalibParamAutomatic = 1,          /* I R: 1 automatic object, 0 manual */
  CalibParamObjectName = 2,         /* S W R: the object's name */
  CalibParamDetectorName = 11,      /* S W R: detector name */
  CalibParamRegionCounter = 12,     /* I R: detector's region counter; W 11039 */
  CalibParamScanState = 13,         /* I W R: scan pattern on (W: value != 0) */
  CalibParamPixelSize = 14,         /* D W R: detector pixel size, um; W also
                                       sets the active grating's pixel width */
  CalibParamSecondarySize = 15,     /* D W R: detector secondary size */
  CalibParamNumPixels = 16,         /* I W R: detector pixels; W refreshes the
                                       model's detector geometry */
  CalibParamSecondaryCount = 17,    /* I W R: detector secondary count */
  CalibParamPointCursor = 18,       /* I W R: point 0-9 that IDs 19, 20 reach;
                                       11066 outside (also R before a W) */
  CalibParamPointPosition = 19,     /* D A W R: record pointPosition[cursor] */
  CalibParamPointValue = 20,        /* D A W R: record pointValue[cursor];
                                       cursor outside 0-9: 11030 */
  CalibParamUnitLabel = 21,         /* S W R: record unitLabel */
  CalibParamCalibLabel = 22,        /* S W R: record calibLabel */
  CalibParamInputUnit = 23,         /* I W R: record inputUnit (W: 4-8) */
  CalibParamDisplayUnit = 24,       /* I W R: record displayUnit (W: 4-8;
                                       the label names the previous unit) */
  CalibParamPolyOrder = 26,         /* I W R: record polyOrder (W: 0-5) */
  CalibParamPointCount = 27,        /* I R: record pointCount */
  CalibParamLaserLine = 28,         /* D W R: record laserLine, nm */
  CalibParamPointCountAlso = 29,    /* I R: record pointCount, as 27 */
  CalibParamCoefficientCursor = 30, /* I W: coefficient 0-4 that ID 31 reaches */
  CalibParamCoefficient = 31,       /* D A W R: record coefficients[cursor] */
  CalibParamPeakThreshold = 33,     /* D W R: peak threshold %, clamped 0-100 */
  CalibParamSpectrographIndex = 35, /* I W model: select a spectrograph */
  CalibParamSpectrographName = 36,  /* S W R: active spectrograph's name */
  CalibParamNumTurrets = 37,        /* I W model: spectrograph's turrets */
  CalibParamTurretNumber = 38,      /* I W model: select a turret (always 0) */
  CalibParamTurretName = 39,        /* S W R: active turret's name */
  CalibParamNumGratings = 40,       /* I W model: spectrograph's gratings */
  CalibParamGratingNumber = 41,     /* I W model: select a grating (always 0) */
  CalibParamGratingName = 42,       /* S W R: active grating's name */
  CalibParamGrooveDensity = 43,     /* D W R model: grating groove density */
  CalibParamCenterPixelOffset = 44, /* D W R model: grating center offset */
  CalibParamSlopeAdjust = 45,       /* D W R model: grating slope adjustment */
  CalibParamFocalLength = 46,       /* D W R model: grating focal length, mm */
  CalibParamInclusionAngle = 47,    /* D W R model: grating inclusion angle */
  CalibParamDetectorAngle = 48,     /* D W R model: grating detector angle */
  CalibParamScaleFactor = 49,       /* D W R model: grating scale factor */
  CalibParamSpecFocalLength = 50,   /* D W R model: spectrograph default */
  CalibParamSpecInclusionAngle = 51, /* D W R model: spectrograph default */
  CalibParamSpecDetectorAngle = 52, /* D W R model: spectrograph default */
  CalibParamSpecScaleFactor = 53,   /* D W R model: spectrograph default */
  CalibParamTargets12 = 54,         /* D W R model: target wavelength 1 and 2 */
  CalibParamTargets34 = 55,         /* D W R model: target wavelength 3 and 4 */
  CalibParamTargetCenter2 = 56,     /* D W R model: slot 2 target center */
  CalibParamTargetCenter1 = 57,     /* D W R model: slot 1 target center */
  CalibParamTargetCenter4 = 58,     /* D W R model: slot 4 target center */
  CalibParamTargetCenter3 = 59,     /* D W R model: slot 3 target center */
  CalibParamRefCursor2 = 60,        /* D W R model: slot 2 reference cursor */
  CalibParamRefCursor1 = 61,        /* D W R model: slot 1 reference cursor */
  CalibParamRefCursor4 = 62,        /* D W R model: slot 4 reference cursor */
  CalibParamRefCursor3 = 63,        /* D W R model: slot 3 reference cursor */
  CalibParamInitialObjective = 64,  /* D W R model: objective before optimising
                                       (W: accepted, no effect) */
  CalibParamBestObjective = 65,     /* D W R model: best objective found
                                       (W: accepted, no effect) */
  CalibParamCurrentObjective = 66,  /* D R model: objective of current optics */
  CalibParamModelDisplayUnit = 67,  /* I W R model: as CalibParamDisplayUnit */
  CalibParamRangeStart = 68,        /* D W R model: stepping / glue start */
  CalibParamRangeEnd = 69,          /* D W R model: stepping / glue end */
  CalibParamGlueStep = 70,          /* D W R model: glue spacing */
  CalibParamOverlap = 71,           /* D W R model: stepping overlap */
  CalibParamNumSteps = 72,          /* I R model: number of steps */
  CalibParamModelFlag = 73,         /* I W R model: free flag (W: value != 0) */
  CalibParamAuxFlag = 74,           /* I W R: free flag (W: value != 0) */
  CalibParamDataPointCount = 76     /* I R: data points last counted */
};
/* clang-format on */

/* Writes an integer parameter. Returns 0; 11038 an ID that is not an
 * integer ID written by this function; 11039 ID 12; 11066 ID 18 outside
 * 0-9; 11025 ID 26 outside 0-5; 11047 ID 30 outside 0-4; 11032 IDs 23, 24,
 * 67 with a unit outside 4-8; 11054 model IDs on a manual object; 11051 IDs
 * 37, 40 without an active spectrograph; 11010 / 11021 no active detector /
 * calibration; ID 35: the result of the selection; ID 16 (automatic object):
 * the detector's code when the geometry cannot be computed (the pixel count
 * is stored all the same). */
KVX_EXPORT KvxULong KVX_CALL CalibSetIntParam(CalibHandle handle, KvxLong id,
                                              KvxLong value);

/* Reads an integer parameter into *value (written only on success).
 * Returns 0; 11038 not an integer ID read by this function; 11066 ID 18
 * before a valid cursor was set; 11054 model IDs on a manual object; 11010 /
 * 11021; 11000 value null. */
KVX_EXPORT KvxULong KVX_CALL CalibGetIntParam(CalibHandle handle, KvxLong id,
                                              KvxLong* value);

/* Writes a double parameter. Returns 0; 11038 not a double ID written by
 * this function; 11066 ID 19 / 11030 ID 20 with the point cursor outside
 * 0-9; 11031 ID 31 with the coefficient cursor outside 0-4; 11054 model IDs
 * on a manual object; 11053 IDs 43-49 without an active grating; 11051 IDs
 * 50-53 without an active spectrograph; 11010 / 11021. IDs 64 and 65 accept
 * any value and change nothing. */
KVX_EXPORT KvxULong KVX_CALL CalibSetDoubleParam(CalibHandle handle, KvxLong id,
                                                 double value);

/* Reads a double parameter into *value (written only on success). Codes as
 * CalibSetDoubleParam, and 11071 IDs 64, 65 before the first optimisation;
 * 11000 value null. */
KVX_EXPORT KvxULong KVX_CALL CalibGetDoubleParam(CalibHandle handle, KvxLong id,
                                                 double* value);

/* Copies count doubles from array into the active calibration's point
 * VALUES, for IDs 19, 20 and 31 alike; any other ID does nothing and returns
 * 0. Nothing is ever read out. Returns 0; 11066 IDs 19, 20 with count
 * outside 1-10; 11031 ID 31 with count outside 1-5; 11021 no active
 * calibration; 11000 array null. */
KVX_EXPORT KvxULong KVX_CALL CalibSetDoubleArray(CalibHandle handle, KvxLong id,
                                                 double* array, KvxLong count);

/* The same function as CalibSetDoubleArray under a second name: it writes
 * the caller's array into the point values and reads nothing out. */
KVX_EXPORT KvxULong KVX_CALL CalibGetDoubleArray(CalibHandle handle, KvxLong id,
                                                 double* array, KvxLong count);

/* Writes a text parameter (IDs 2, 11, 21, 22, 36, 39, 42): the 128-byte
 * field is cleared, then min(length, strlen(text), 127) characters are
 * copied (a negative length copies none). Returns 0; 11038 another ID;
 * 11048 / 11049 / 11053 IDs 36 / 39 / 42 without a model or without an
 * active spectrograph / turret / grating; 11010 / 11021; 11000 text null. */
KVX_EXPORT KvxULong KVX_CALL CalibSetStrParam(CalibHandle handle, KvxLong id,
                                              const char* text, KvxLong length);

/* Reads a text parameter into buffer: min(length, 127) characters, or the
 * text with its terminator when that is shorter. When length is not greater
 * than the text's length the copy is cut and carries NO terminator. A
 * negative length copies the whole text with its terminator. Codes as
 * CalibSetStrParam; 11000 buffer null. */
KVX_EXPORT KvxULong KVX_CALL CalibGetStrParam(CalibHandle handle, KvxLong id,
                                              char* buffer, KvxLong length);

/* ------------------------------------------------------------------------ */
/* Grating model (automatic mode)                                           */
/* ------------------------------------------------------------------------ */
/* Every function of this section and the next returns 11054 on a manual
 * object, before anything else. Wavelengths are in nm. The pixel wavelength
 * follows the grating equation for the selected grating's working optics
 * (groove density, inclusion angle, detector angle, focal length, focal
 * plane scale factor) and the detector's pixel size; a groove density of 0
 * makes every pixel see the center wavelength. */

/* Wavelength of a data point for the center wavelength last given to
 * CalibSetCenterWavelength through this handle's slot (0.0 if none; the
 * value stays with the slot across CalibDestroy/CalibCreate), not the
 * model's own center. The center is written first.
 * Returns 0; 11000 null output; 11010 / 11011 / 11015 from the data-point
 * mapping (output: the center); 11065 the center cannot be reached
 * (output: the center). */
KVX_EXPORT KvxULong KVX_CALL CalibCalcDataPointWaveLength(CalibHandle handle,
                                                          double dataPoint,
                                                          double* wavelength);

/* As CalibCalcDataPointWaveLength, converted from nm into the active
 * calibration's display unit. On a failure before the conversion *value is
 * untouched. Returns 0; 11000 null output or no active calibration; the
 * codes of CalibCalcDataPointWaveLength; 11024 / 11032 from the unit
 * conversion (the converted number is written). */
KVX_EXPORT KvxULong KVX_CALL CalibCalcDataPointCalibValue(CalibHandle handle,
                                                          double dataPoint,
                                                          double* value);

/* Calibrated value (display unit) of every data point 1..count at the
 * model's effective center wavelength (see CalibSetCenterWavelength).
 * Returns 0; 11010 / 11011 no loaded detector; 11020 count differs from the
 * number of data points; 11003 pixel size 0; 11000 null values; the first
 * failure of CalibCalcDataPointCalibValue, which ends the loop (later
 * elements not written). */
KVX_EXPORT KvxULong KVX_CALL CalibCalcDataPointCalibArray(CalibHandle handle,
                                                          KvxLong count,
                                                          double* values);

/* Checks that the grating can be turned to a wavelength and writes the
 * longest reachable one, sin(90 deg - psi/2) cos(psi/2) 2e6 / (order x
 * grooves/mm) (0.0 for a groove density 0), to *limit when limit is not
 * null. Returns 0 (wavelength <= limit; there is no lower bound, -inf
 * passes); 11065 above the limit or NaN (limit written); 11069 inclusion angle
 * outside 0..180 degrees (limit untouched). */
KVX_EXPORT KvxULong KVX_CALL CalibTestWavelength(CalibHandle handle,
                                                 double wavelength,
                                                 double* limit);

/* Writes the dispersion at the detector center, |lambda(c + 0.5) -
 * lambda(c - 0.5)| in nm per pixel for the effective center wavelength (c:
 * the detector center pixel; the grating's center pixel offset applies).
 * Returns 0; 11000 null output; 11065 the center cannot be reached (output
 * untouched). */
KVX_EXPORT KvxULong KVX_CALL CalibGetCenterResolution(CalibHandle handle,
                                                      double* resolution);

/* ------------------------------------------------------------------------ */
/* Center wavelength, stepping, target slots (automatic mode)               */
/* ------------------------------------------------------------------------ */

/* Sets the spectrograph's center wavelength (nm). The handle's slot keeps
 * the value for CalibCalcPxlWavLngth, CalibCalcDataPointWaveLength and
 * CalibCalcDataPointCalibValue even when this call fails (also with 11054).
 * The model computes the effective center, the wavelength that puts the
 * requested one on the center of the active pixel range given the
 * grating's center pixel offset, and the drive value (see
 * CalibConvertCenterWavelength). Returns 0; 11065 unreachable, NaN or
 * infinite; 11069 inclusion angle outside 0..180 (nothing stored). */
KVX_EXPORT KvxULong KVX_CALL CalibSetCenterWavelength(CalibHandle handle,
                                                      double wavelength);

/* Sets the center as a value in the active calibration's display unit
 * (converted to nm; a failed conversion takes the value as nm). Does not
 * change the slot's center wavelength. Codes as CalibSetCenterWavelength. */
KVX_EXPORT KvxULong KVX_CALL CalibSetCenterCalibValue(CalibHandle handle,
                                                      double value);

/* Computes the effective center for a center wavelength (up to ten
 * corrections until one is below 1e-5 nm, only when the center pixel offset
 * plus the region center offset is not 0) and the drive value (1 + slope
 * adjustment) x effective center, which the model keeps and writes to
 * *driveValue when driveValue is not null (also on failure). The requested
 * center is not changed. Returns 0; 11065 the effective center cannot be
 * reached. */
KVX_EXPORT KvxULong KVX_CALL CalibConvertCenterWavelength(CalibHandle handle,
                                                          double wavelength,
                                                          double* driveValue);

/* Moves the selected grating's center pixel offset (and the working one)
 * so that the center wavelength falls on the pixel of `dataPoint`: adds the
 * pixel minus the center of the active pixel range. The effective center
 * follows at the next center setting; without a selected grating only the
 * working offset moves. Returns 0; the detector check's codes (11000,
 * 11002, 11003, 11005-11011);
 * the data-point mapping's codes (11010, 11011). */
KVX_EXPORT KvxULong KVX_CALL CalibCalcCenterOffset(CalibHandle handle,
                                                   double dataPoint);

/* Scales the slope adjustment s of the selected grating (and of the working
 * optics) to (s + 1) b / a - 1, e.g. a = drive reading, b = true center.
 * Arguments are not checked (a = 0 gives an infinite slope). Without a
 * selected grating only the working value changes. Returns 0. */
KVX_EXPORT KvxULong KVX_CALL CalibCalcSlopeAdjust(CalibHandle handle, double a,
                                                  double b);

/* Number of center settings needed to cover start..end (calibration units;
 * swapped when start > end) with spectra overlapping by `overlap`. Sets the
 * center to end + overlap and leaves it there; stores the range and the
 * overlap (also the glue range). Returns 0; 11000 null steps; 11073 one
 * spectrum is not wider than the overlap (nothing stored). A count beyond
 * 32 bits (or from a NaN) is stored and reported as INT32_MIN, as the
 * processor's conversion gives it. */
KVX_EXPORT KvxULong KVX_CALL CalibGetNumberSteps(CalibHandle handle,
                                                 double start, double end,
                                                 double overlap,
                                                 KvxLong* steps);

/* Recomputes the steps of the stored range and writes the center of each
 * (calibration units) to values[0..count-1]; the first spectrum begins at
 * start - overlap, neighbours overlap by `overlap`. The center stays at
 * end + overlap. Returns the recount's code (0 or 11073); 11072 count
 * differs from the number of steps (values untouched); 11000 null values;
 * 11022 out of memory. */
KVX_EXPORT KvxULong KVX_CALL CalibGetStepCenterValues(CalibHandle handle,
                                                      KvxLong count,
                                                      double* values);

/* Replaces the active calibration's record (node and ID stay) by a fourth-
 * order fit through the model's wavelengths at the first pixel, the quarter
 * points and the last pixel for the effective center, keeping the display
 * unit, laser line and unit label. Returns 0; 11000 / 11002 / 11003 / 11005
 * - 11009 from the detector check; 11065 unreachable center; a validation
 * code; 11000 no active calibration record; 11022 out of memory. */
KVX_EXPORT KvxULong KVX_CALL CalibSetupSpecCalArray(CalibHandle handle);

/* Target slots 1..4 of a dispersion measurement; each call makes the slot
 * the one last addressed. Return 0; 11047 slot outside 1..4 (nothing
 * changed); 11000 null output. */
KVX_EXPORT KvxULong KVX_CALL CalibSetRefCursorPosition(CalibHandle handle,
                                                       KvxLong slot,
                                                       double pixel);
KVX_EXPORT KvxULong KVX_CALL CalibGetRefCursorPosition(CalibHandle handle,
                                                       KvxLong slot,
                                                       double* pixel);
/* Records the target center wavelength and the effective center the model
 * computes for it, then restores the spectrograph's center. A wavelength
 * the grating cannot reach still returns 0 and records the effective
 * center of the current center. */
KVX_EXPORT KvxULong KVX_CALL CalibSetTargetWaveLength(CalibHandle handle,
                                                      KvxLong slot,
                                                      double wavelength);
/* Writes the slot's target center wavelength. */
KVX_EXPORT KvxULong KVX_CALL CalibGetTargetWaveLength(CalibHandle handle,
                                                      KvxLong slot,
                                                      double* wavelength);

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

/* ------------------------------------------------------------------------ */
/* Extensions: least-squares fits (ordinals 107 to 112)                     */
/* ------------------------------------------------------------------------ */
/* A fit of the grating model to any number of measured lines, from one or
 * several spectra taken at different center wavelengths, and polynomial
 * calibrations of any number of points up to order 9. Both reject outliers
 * (see KvxFitOptions) and report standard uncertainties and residuals. The
 * records hold only doubles and 32-bit integers: the same sizes and offsets
 * in 32-bit and 64-bit builds (docs/record-layouts.md). */

/* Bits of KvxFitOptions.fixed: parameters held at their start values. */
#define KVX_FIX_FOCAL_LENGTH 1
#define KVX_FIX_INCLUSION_ANGLE 2
#define KVX_FIX_DETECTOR_ANGLE 4
#define KVX_FIX_CENTERS 8

/* One measured line, 24 bytes. */
typedef struct KVX_ALIGN8 KvxFitLine {
  double pixel;       /* 0: where the line was found, 0.5 to N + 0.5 */
  double wavelength;  /* 8: its known wavelength, nm */
  KvxLong spectrum;   /* 16: index (0-based) into the spectra array */
  KvxLong reserved20; /* 20: not read */
} KvxFitLine;

/* One spectrum of a grating fit, 40 bytes. requestedCenter is read; the
 * other fields are written. */
typedef struct KVX_ALIGN8 KvxFitSpectrum {
  double requestedCenter; /* 0: center wavelength set (nm): start value */
  double center;          /* 8: fitted wavelength at the center of the
                             active pixel range: what CalibSetCenterWavelength
                             reproduces the spectrum with */
  double centerSigma;     /* 16: its standard uncertainty */
  double effectiveCenter; /* 24: the fitted model's effective center */
  KvxLong linesUsed;      /* 32: lines of this spectrum in the fit */
  KvxLong reserved36;     /* 36: written 0 */
} KvxFitSpectrum;

/* Options of both fits, 24 bytes; a null pointer means all defaults.
 * Outliers: after each fit the worst point whose residual exceeds both
 * clipSigmas robust standard deviations (1.4826 x the median absolute
 * residual) and clipFloor is set aside and the fit repeated; points that
 * fall back within the threshold are taken again. */
typedef struct KVX_ALIGN8 KvxFitOptions {
  KvxLong fixed;          /* 0: KVX_FIX_* bits (grating fit only) */
  KvxLong maxEvaluations; /* 4: solver steps' model evaluations per
                             least-squares run, the Jacobian's not counted
                             (grating fit only); 0 or below: 400 */
  double clipSigmas;      /* 8: 0: 4.0; negative: nothing is rejected */
  double clipFloor;       /* 16: residuals within it are never rejected;
                             pixels for the grating fit (0: 0.25), units of
                             y for the polynomial fit (0: none) */
} KvxFitOptions;

/* Result of a grating fit, 80 bytes. A sigma is 0.0 for a parameter held
 * fixed and -1.0 when the lines do not determine it (no degree of freedom
 * left, or parameters the lines cannot tell apart). */
typedef struct KVX_ALIGN8 KvxGratingFit {
  double focalLength;         /* 0: mm */
  double inclusionAngle;      /* 8: degrees */
  double detectorAngle;       /* 16: degrees */
  double focalLengthSigma;    /* 24 */
  double inclusionAngleSigma; /* 32 */
  double detectorAngleSigma;  /* 40 */
  double rmsNm;               /* 48: over the lines used */
  double rmsPixels;           /* 56 */
  KvxLong linesUsed;          /* 64 */
  KvxLong linesRejected;      /* 68 */
  KvxLong evaluations;        /* 72: model evaluations, all runs */
  KvxLong reserved76;         /* 76: written 0 */
} KvxGratingFit;

/* Result for one line or point of either fit, 32 bytes. */
typedef struct KVX_ALIGN8 KvxFitLineResult {
  double fitted;         /* 0: fitted value at the line's position */
  double residual;       /* 8: known value - fitted value */
  double residualPixels; /* 16: grating fit: the residual over the local
                            dispersion (pixels); polynomial fit: 0.0 */
  KvxLong rejected;      /* 24: 1 when set aside as an outlier, else 0 */
  KvxLong reserved28;    /* 28: written 0 */
} KvxFitLineResult;

/* Result of a polynomial fit, 1000 bytes:
 *   y(x) = sum over k = 0..order of coefficients[k] * T_k(t),
 *   t = (x - xCenter) / xHalfRange,
 * T_k the Chebyshev polynomials (T0 = 1, T1 = t, T_k+1 = 2t T_k - T_k-1).
 * The abscissae of the points span t = -1 to 1. */
typedef struct KVX_ALIGN8 KvxPolynomialFit {
  double coefficients[10]; /* 0: of T0..T9; unused ones 0.0 */
  double sigmas[10];       /* 80: standard uncertainties; -1.0 without a
                              degree of freedom */
  double covariance[100];  /* 160: row-major 10 x 10; the leading
                              (order+1) x (order+1) block is used */
  double xCenter;          /* 960 */
  double xHalfRange;       /* 968: non-zero */
  double rms;              /* 976: over the points used */
  KvxLong order;           /* 984: 0 to 9 */
  KvxLong pointsUsed;      /* 988 */
  KvxLong pointsRejected;  /* 992 */
  KvxLong reserved996;     /* 996: written 0 */
} KvxPolynomialFit;

/* Extension (ordinal 107). Automatic mode. Fits the grating model to
 * lineCount lines measured in spectrumCount spectra: focal length,
 * inclusion angle and detector angle, shared by all spectra (start values:
 * the working optics of the selected grating), and for each spectrum the
 * wavelength at the center of the active pixel range (start value:
 * requestedCenter). The model is that of every pixel computation (groove
 * density, scale factor, pixel width, center pixel offset of the working
 * optics). Nothing in the object changes; KvxInstallFittedOptics installs
 * the result. Writes fit, the output fields of spectra and, unless
 * lineResults is null, lineCount line results in the order given; on a
 * failure nothing is written.
 * Returns 0; 11054 manual object; 11000 null lines, spectra or fit; 11046
 * groove density or order 0 (nothing to fit); 11027 fewer than 3 lines, a
 * spectrum without a line while the centers are free, or fewer lines than
 * free parameters (rejection never goes below that); 11047 spectrumCount
 * below 1 or a line's spectrum outside 0..spectrumCount-1; 11016 a pixel
 * outside 0.5..N+0.5 (N from the selected grating's detector geometry) or
 * not finite; 11065 a wavelength or center the grating cannot reach, or a
 * fit that turned the grating beyond reach; 11100 the fit did not
 * converge; 11022 when memory runs out. */
KVX_EXPORT KvxULong KVX_CALL
KvxFitGratingModel(CalibHandle handle, const KvxFitLine* lines,
                   KvxLong lineCount, KvxFitSpectrum* spectra,
                   KvxLong spectrumCount, const KvxFitOptions* options,
                   KvxGratingFit* fit, KvxFitLineResult* lineResults);

/* Extension (ordinal 108). Automatic mode. Writes the fitted focal length,
 * inclusion angle and detector angle into the working optics and the
 * selected grating, as CalibInstallOptimDispParams does with its set. The
 * effective center is not recomputed: set each spectrum's center (the
 * fitted KvxFitSpectrum.center) with CalibSetCenterWavelength.
 * Returns 0; 11054 manual object; 11000 null fit. */
KVX_EXPORT KvxULong KVX_CALL KvxInstallFittedOptics(CalibHandle handle,
                                                    const KvxGratingFit* fit);

/* Extension (ordinal 109). Automatic mode. The wavelength (nm) of pixels 1
 * to count under the fitted optics when the center of the active pixel
 * range sees center: a fitted spectrum with its fitted center, or any other
 * grating position. The object does not change.
 * Returns 0; 11054 manual object; 11000 null fit or wavelengths; 11019
 * count differs from the pixel count of the model's detector geometry
 * (nothing written); 11065 center cannot be reached (nothing written). */
KVX_EXPORT KvxULong KVX_CALL KvxFittedWavelengths(CalibHandle handle,
                                                  const KvxGratingFit* fit,
                                                  double center, KvxLong count,
                                                  double* wavelengths);

/* Extension (ordinal 110). No handle. Least-squares polynomial of the given
 * order (0 to 9) through count points (x[i], y[i]), in the Chebyshev basis
 * of the scaled abscissa, solved by QR with column pivoting. Writes fit
 * and, unless pointResults is null, count point results; on a failure
 * nothing is written.
 * Returns 0; 11000 null x, y or fit; 11025 order outside 0..9; 11027
 * fewer points (or fewer distinct abscissae) than order + 1; 11016 a value
 * not finite, or one abscissa only with an order above 0; 11022 when
 * memory runs out. */
KVX_EXPORT KvxULong KVX_CALL KvxFitPolynomial(const double* x, const double* y,
                                              KvxLong count, KvxLong order,
                                              const KvxFitOptions* options,
                                              KvxPolynomialFit* fit,
                                              KvxFitLineResult* pointResults);

/* Extension (ordinal 111). No handle. The fitted polynomial at x.
 * Returns 0; 11000 null fit or y; 11025 order outside 0..9; 11016
 * xHalfRange 0 or not finite. */
KVX_EXPORT KvxULong KVX_CALL
KvxEvaluatePolynomialFit(const KvxPolynomialFit* fit, double x, double* y);

/* Extension (ordinal 112). Turns a polynomial fit of wavelength (nm) over
 * pixel into a table calibration: one value per data point, entry i being
 * the polynomial at pixel i + 1 (the conversions look a table up by pixel),
 * input and display unit nanometres with the table flag. The record is
 * added as CalibAddCalibration adds one (validated, table copied into the
 * object) and made the active calibration; newId (may be null) receives
 * its ID, 0 on failure.
 * Returns 0; 11000 null fit; 11025 / 11016 as KvxEvaluatePolynomialFit;
 * 11010 no usable active detector; 11002 no data points; 11034 the
 * table is not monotonic (nothing added); 11022 when memory runs out. */
KVX_EXPORT KvxULong KVX_CALL KvxInstallPolynomialTable(
    CalibHandle handle, const KvxPolynomialFit* fit, KvxULong* newId);

/* ------------------------------------------------------------------------ */
/* Extensions: automatic calibration from lamp spectra (ordinals 115-119)   */
/* ------------------------------------------------------------------------ */
/* A host hands over one or more spectra of a calibration lamp, each taken
 * with the grating set to a requested center wavelength, and the lamp's
 * line list. The library finds the peaks with its own peak search, names
 * them with lines of the list although a spectrum may sit tens of pixels
 * away from where the nominal optics put it and the nominal dispersion may
 * be a few percent off, and fits the grating model to the named lines: the
 * focal length, inclusion angle and detector angle shared by all spectra,
 * and per spectrum the wavelength that falls on the center of the active
 * pixel range (the fitted center). Lines closer than blendPixels to a line
 * of at least a hundredth of their strength, lines outside the detector or
 * within 3 pixels of its ends, and peaks that no line explains are left
 * unnamed. Records have the same size and offsets in 32- and 64-bit builds
 * (the pointer of KvxAutocalSpectrum takes 8 bytes in both). */

/* One line of a lamp's list, 24 bytes. */
typedef struct KVX_ALIGN8 KvxLampLine {
  double wavelength; /* 0: nm, in air */
  double intensity;  /* 8: relative, for ranking lines only */
  char element[8];   /* 16: "Ne", "Hg", ...; NUL-terminated */
} KvxLampLine;

/* Identification options, 48 bytes; KvxInitAutocalOptions fills the
 * defaults given here. */
typedef struct KVX_ALIGN8 KvxAutocalOptions {
  double searchPixels;        /* 0: how far a spectrum may sit off, px (50) */
  double dispersionTolerance; /* 8: how far the dispersion may be off (0.05) */
  double blendPixels;         /* 16: lines closer are not told apart (2.5) */
  double thresholdPercent;    /* 24: peak threshold, % of the largest (0.5) */
  double matchPixels;         /* 32: a named line lies this close to the
                                 fitted model, px (0.5) */
  KvxLong minLines;           /* 40: fewer named lines: no calibration (5) */
  KvxULong fixedMask;         /* 44: held at the nominal values: 1 focal
                                 length, 2 inclusion angle, 4 detector
                                 angle (2: across one detector the
                                 inclusion angle trades almost exactly
                                 against the other two) */
} KvxAutocalOptions;

/* One lamp spectrum, 48 bytes. */
typedef struct KVX_ALIGN8 KvxAutocalSpectrum {
  const double* counts; /* 0: counts of pixels 1..count */
#if !KVX_PTR64
  KvxLong reserved4; /* 4: not read */
#endif
  KvxLong count;            /* 8: the active detector's number of pixels */
  KvxLong peaks;            /* 12: out: peaks found (3 px from the ends
                               excluded) */
  double center;            /* 16: requested center wavelength, nm */
  double fittedCenter;      /* 24: out: fitted wavelength at the center of
                               the active pixel range */
  double fittedCenterSigma; /* 32: out: its standard uncertainty; -1.0
                               when undetermined */
  KvxLong linesUsed;        /* 40: out: named lines in this spectrum */
  KvxLong reserved44;       /* 44: not read */
} KvxAutocalSpectrum;

/* The fitted model, 80 bytes. Sigmas are standard uncertainties (0.0 for a
 * parameter held fixed, -1.0 when undetermined). */
typedef struct KVX_ALIGN8 KvxAutocalResult {
  double focalLength;         /* 0: mm */
  double focalLengthSigma;    /* 8 */
  double inclusionAngle;      /* 16: degrees */
  double inclusionAngleSigma; /* 24 */
  double detectorAngle;       /* 32: degrees */
  double detectorAngleSigma;  /* 40 */
  double rmsNm;               /* 48: over the named lines */
  double rmsPixels;           /* 56 */
  KvxLong lineCount;          /* 64: named lines in all spectra */
  KvxLong rejectedCount;      /* 68: matched lines the fit rejected */
  KvxLong failedSpectrum;     /* 72: index of the spectrum a failure
                                 concerns, else -1 */
  KvxULong fixedMask;         /* 76: parameters held in the fit: the
                                 options' mask, plus those the lines could
                                 not determine (inclusion angle first, then
                                 detector angle, focal length) and an
                                 angle they pin down no better than
                                 0.25 degree */
} KvxAutocalResult;

/* One named line, 56 bytes. */
typedef struct KVX_ALIGN8 KvxIdentifiedLine {
  double pixel;          /* 0: peak position, 1-based pixel */
  double wavelength;     /* 8: the list's wavelength, nm */
  double intensity;      /* 16: the list's relative intensity */
  double residualNm;     /* 24: wavelength - fitted model at the pixel */
  double residualPixels; /* 32: the same in pixels */
  KvxLong spectrum;      /* 40: index of its spectrum */
  char element[8];       /* 44: element of the line */
  KvxLong reserved52;    /* 52: 0 */
} KvxIdentifiedLine;

/* Extension (ordinal 115). No handle. Reads a lamp-line list and keeps the
 * lines of the named elements. path is a CSV file of rows
 * "element,air_wavelength_nm,relative_intensity" ('#' comment lines and one
 * header row allowed; the element is the first word of the first column,
 * "Hg I" -> "Hg"); a null path takes the list built into the module (Hg,
 * Ar, Ne, Kr and Cd, air wavelengths from the NIST Atomic Spectra
 * Database). elements names the lamp's elements ("Ne", "Hg,Ar", "Hg+Ar";
 * case ignored); null or empty takes every line. Writes the first
 * `capacity` lines in list order and the number of all of them to *count
 * (capacity 0 only counts; lines may be null then).
 * Returns 0; 11000 null count, or null lines with capacity above 0; 11047
 * negative capacity; 11122 the file cannot be read or holds a malformed row
 * or no line, or an element named has no line in the list (nothing
 * written). */
KVX_EXPORT KvxULong KVX_CALL KvxGetLampLines(const char* path,
                                             const char* elements,
                                             KvxLampLine* lines,
                                             KvxLong capacity, KvxLong* count);

/* Extension (ordinal 116). No handle. Fills the options with the defaults.
 * Returns 0; 11000 null options. */
KVX_EXPORT KvxULong KVX_CALL KvxInitAutocalOptions(KvxAutocalOptions* options);

/* Extension (ordinal 117). Automatic mode. Identifies the lines of `lines`
 * in `spectrumCount` spectra and fits the grating model to them, starting
 * from the working optics of the active grating; the object is not changed.
 * options may be null (defaults). Writes *result, each spectrum's output
 * fields, and the named lines (by spectrum, then by pixel) into
 * `identified` up to `capacity` of them (result->lineCount gives all).
 * Every spectrum's count must equal the active detector's pixels.
 * On 11120 or 11121 the peaks of every spectrum examined are written, and
 * result->failedSpectrum names the spectrum, or is -1 when the failure
 * concerns all spectra together; the rest of *result is then 0.
 * Returns 0; 11054 manual object; 11000 null spectra, lines, result or
 * counts, or null identified with capacity above 0; 11047 spectrumCount or
 * lineCount below 1, negative capacity, or an option out of range
 * (searchPixels 0..10000, dispersionTolerance 0..0.5, blendPixels 0..100,
 * thresholdPercent 0..100, matchPixels above 0 up to 10, minLines 3 or
 * more, fixedMask bits 1, 2, 4 only); 11019 a count that differs from the
 * pixels; 11065 a center the grating cannot reach; 11120 a spectrum with
 * fewer than 3 peaks (a flat spectrum has none) or fewer peaks in all than
 * minLines; 11121 no consistent match: fewer than minLines lines named, a
 * spectrum with fewer than 2, or fewer than 3 of a spectrum's 8
 * strongest peaks named (a lamp other than the list's); 11027 too few lines
 * for the parameters left free; 11100 the fit did not converge; 11022 when
 * memory runs out. */
KVX_EXPORT KvxULong KVX_CALL KvxAutoCalibrate(
    CalibHandle handle, KvxAutocalSpectrum* spectra, KvxLong spectrumCount,
    const KvxLampLine* lines, KvxLong lineCount,
    const KvxAutocalOptions* options, KvxAutocalResult* result,
    KvxIdentifiedLine* identified, KvxLong capacity);

/* Extension (ordinal 118). Automatic mode. Writes the wavelength (nm) of
 * pixels 1..count for the fitted optics of *result with the grating set so
 * that `center` falls on the center of the active pixel range: a
 * spectrum's fittedCenter gives its fitted axis, any other center predicts
 * the axis at that grating position. The object is not changed.
 * Returns 0; 11054 manual object; 11000 null result or wavelengths; 11047
 * count below 1; 11065 a center the fitted grating cannot reach. */
KVX_EXPORT KvxULong KVX_CALL
KvxAutocalWavelengths(CalibHandle handle, const KvxAutocalResult* result,
                      double center, double* wavelengths, KvxLong count);

/* Extension (ordinal 119). Automatic mode. Installs the fitted focal
 * length, inclusion angle and detector angle of *result into the working
 * optics and the active grating, as installing optimised dispersion
 * parameters does. The center is not changed: set a spectrum's fittedCenter
 * with CalibSetCenterWavelength to reproduce its fitted axis.
 * Returns 0; 11054 manual object; 11000 null result; 11047 a focal length
 * not above 0 or an angle not finite. */
KVX_EXPORT KvxULong KVX_CALL KvxInstallAutocal(CalibHandle handle,
                                               const KvxAutocalResult* result);

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

/* Calibrated value (display unit) of every pixel 1..count at the model's
 * effective center wavelength. Failures of single pixels are ignored: a
 * center the grating cannot reach leaves the array untouched, a failed
 * unit conversion leaves what it wrote. Returns 0; 11054 manual object;
 * 11019 count differs from the pixel count; 11003 pixel size 0; 11000 null
 * values. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibCalcCalibPixelArray(CalibHandle handle,
                                                          KvxLong count,
                                                          double* values);

/* Wavelength (nm, no unit conversion) of a pixel for the center wavelength
 * last given to CalibSetCenterWavelength through this handle's slot (0.0 if
 * none). Returns 0; 11054 manual object; 11000 null output; 11065 the
 * center cannot be reached (output: the center). */
KVX_EXPORT NqeErrorCode KVX_CALL CalibCalcPxlWavLngth(CalibHandle handle,
                                                      double pixel,
                                                      double* wavelength);

/* Writes asin(order x grooves/mm x wavelength x 1e-6 / (2 cos(psi / 2))),
 * in radians, with the inclusion angle psi in degrees taken as radians in
 * the cosine, as hosts of this interface have always received it (psi = 30
 * gives a negative angle). Returns 0; 11054 manual object; 11000 null
 * output; 11065 when |sine| >= 1 (output untouched). */
KVX_EXPORT NqeErrorCode KVX_CALL CalibGratingRotationAngle(CalibHandle handle,
                                                           double wavelength,
                                                           double* angle);

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

/* CalibSelectTurret(turretNumber), then CalibSelectGrating(gratingNumber);
 * returns the first failure or 0. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibSetGratingByIndexNum(
    CalibHandle handle, KvxLong turretNumber, KvxLong gratingNumber);

/* Checks an array of regions against a pixel count; keeps nothing.
 * Returns 0; 11000 null; 11008 count 0 / binning 0 / width not a multiple;
 * 11002 numPixels 0; 11009 regionBytes / count not 16; 11006; 11005. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibValidateXScanPattern(CalibHandle handle,
                                                           X_ROI* regions,
                                                           KvxLong regionBytes,
                                                           KvxLong count,
                                                           KvxLong numPixels);

/* Checks the four target slots in order: a reference cursor below 1.0 or
 * not below the number of pixels (also NaN) gives 11016; a target or target
 * center beyond the rotation limit 11065 (11069 for an inclusion angle
 * outside 0..180 degrees); a negative target or a target center below
 * -3000 nm 11065. Returns 0 or the first failure; 11054 manual object. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibValidateTargetData(CalibHandle handle);

/* CalibValidateTargetData, then the optimisation state of the last
 * CalibOptimizeSpectrograph: 11071 none; 11070 working focal length not in
 * (0, 10000]; 11069 working detector angle not in (-90, 90) or inclusion
 * angle not in [0, 90). Returns 0 or the first failure. */
KVX_EXPORT NqeErrorCode KVX_CALL CalibValidateSpecOptStruct(CalibHandle handle);
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
KVX_AT(SpectrographRecord, inclusionAngle, 160);
KVX_AT(SpectrographRecord, detectorAngle, 168);
KVX_AT(SpectrographRecord, scaleFactor, 176);
KVX_STATIC_ASSERT(sizeof(TurretRecord) == 140, "TurretRecord");
KVX_AT(TurretRecord, turretId, 4);
KVX_AT(TurretRecord, numGratings, 136);
KVX_STATIC_ASSERT(sizeof(GratingRecord) == 208, "GratingRecord");
KVX_AT(GratingRecord, grooveDensity, 136);
KVX_AT(GratingRecord, centerPixelOffset, 152);
KVX_AT(GratingRecord, focalLength, 168);
KVX_AT(GratingRecord, scaleFactor, 192);
KVX_AT(GratingRecord, pixelWidth, 200);
/* Fit records: doubles and 32-bit integers only, one layout everywhere. */
KVX_STATIC_ASSERT(sizeof(KvxFitLine) == 24, "KvxFitLine");
KVX_AT(KvxFitLine, spectrum, 16);
KVX_STATIC_ASSERT(sizeof(KvxFitSpectrum) == 40, "KvxFitSpectrum");
KVX_AT(KvxFitSpectrum, effectiveCenter, 24);
KVX_AT(KvxFitSpectrum, linesUsed, 32);
KVX_STATIC_ASSERT(sizeof(KvxFitOptions) == 24, "KvxFitOptions");
KVX_AT(KvxFitOptions, clipSigmas, 8);
KVX_AT(KvxFitOptions, clipFloor, 16);
KVX_STATIC_ASSERT(sizeof(KvxGratingFit) == 80, "KvxGratingFit");
KVX_AT(KvxGratingFit, rmsNm, 48);
KVX_AT(KvxGratingFit, linesUsed, 64);
KVX_AT(KvxGratingFit, evaluations, 72);
KVX_STATIC_ASSERT(sizeof(KvxFitLineResult) == 32, "KvxFitLineResult");
KVX_AT(KvxFitLineResult, rejected, 24);
KVX_STATIC_ASSERT(sizeof(KvxPolynomialFit) == 1000, "KvxPolynomialFit");
KVX_AT(KvxPolynomialFit, sigmas, 80);
KVX_AT(KvxPolynomialFit, covariance, 160);
KVX_AT(KvxPolynomialFit, xCenter, 960);
KVX_AT(KvxPolynomialFit, order, 984);
KVX_AT(KvxPolynomialFit, reserved996, 996);
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
KVX_STATIC_ASSERT(sizeof(KvxLampLine) == 24, "KvxLampLine");
KVX_AT(KvxLampLine, element, 16);
KVX_STATIC_ASSERT(sizeof(KvxAutocalOptions) == 48, "KvxAutocalOptions");
KVX_AT(KvxAutocalOptions, matchPixels, 32);
KVX_AT(KvxAutocalOptions, minLines, 40);
KVX_AT(KvxAutocalOptions, fixedMask, 44);
KVX_STATIC_ASSERT(sizeof(KvxAutocalSpectrum) == 48, "KvxAutocalSpectrum");
KVX_AT(KvxAutocalSpectrum, count, 8);
KVX_AT(KvxAutocalSpectrum, peaks, 12);
KVX_AT(KvxAutocalSpectrum, center, 16);
KVX_AT(KvxAutocalSpectrum, fittedCenterSigma, 32);
KVX_AT(KvxAutocalSpectrum, linesUsed, 40);
KVX_STATIC_ASSERT(sizeof(KvxAutocalResult) == 80, "KvxAutocalResult");
KVX_AT(KvxAutocalResult, rmsPixels, 56);
KVX_AT(KvxAutocalResult, lineCount, 64);
KVX_AT(KvxAutocalResult, fixedMask, 76);
KVX_STATIC_ASSERT(sizeof(KvxIdentifiedLine) == 56, "KvxIdentifiedLine");
KVX_AT(KvxIdentifiedLine, spectrum, 40);
KVX_AT(KvxIdentifiedLine, element, 44);
KVX_AT(KvxIdentifiedLine, reserved52, 52);
#undef KVX_AT
#endif /* KVX_STATIC_ASSERT */

#endif /* KELVOCALIBRATE_H */
