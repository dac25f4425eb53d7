/*
 * libQX_FaceSDK: face detection, landmarks and per-face analysis behind sixteen plain functions.
 *
 * All images are grey, one byte a pixel, rows top to bottom with no gap; `channels` is 1. All points are int32
 * (x, y) pairs in pixels of the image. Left and right are those of the image, with the face upright.
 *
 * Instances are independent of each other and each serves one call at a time. Their networks stand behind them all:
 * memory grows with the calls that are at work at once, not with the instances. A function that is handed a null
 * instance or an empty image answers with nothing found. The header is valid C99 and C++.
 */
#ifndef QX_FACE_SDK_H
#define QX_FACE_SDK_H

#include <stdint.h>

#if defined(QX_FACE_SDK_BUILD) && defined(__GNUC__)
#define QX_FACE_SDK_API __attribute__((visibility("default")))
#else
#define QX_FACE_SDK_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QX_FACE_BLOCK_INTS 1024     /* int32 in each of FaceAlign's three blocks */
#define QX_FACE_KEY_POINTS 11       /* points that FaceAlign writes to keyPoints */
#define QX_FACE_LANDMARKS 38        /* points that FaceAlign writes to landmarks */
#define QX_FACE_ATTRIBUTE_POINTS 88 /* points that FaceAttr writes to attributes */

/* What FaceAlign leaves in attrBlock, for whoever wants more than FaceAttr makes of it. Numbers with a fraction are the
 * bits of IEEE floats; the rest of the block is zero.
 * [0]          QX_FACE_BLOCK_MARK
 * [1] on       x and y of the 468 points of the canonical face mesh, pixels of the image; a pixel's left and upper edge
 *              have its number
 * [937]        QX_FACE_DEPTH_MARK; an engine that does not tell what follows leaves another number there
 * [938] on     depth of the QX_FACE_DEPTH_POINTS mesh points whose numbers are QX_FACE_DEPTH_INDICES, in pixels, larger
 *              away from the viewer; its zero lies somewhere inside the head
 * then         x and y of both irises, the image's left one first: centre and four points of the rim each */
#define QX_FACE_MESH_POINTS 468
#define QX_FACE_BLOCK_MARK 0x4853454d
#define QX_FACE_BLOCK_DEPTHS 937
#define QX_FACE_DEPTH_MARK 0x48545044
#define QX_FACE_DEPTH_POINTS 37
#define QX_FACE_DEPTH_INDICES                                                                                       \
  {                                                                                                                 \
    4, 6, 10, 33, 54, 67, 117, 119, 121, 127, 129, 132, 133, 136, 143, 147, 198, 205, 263, 284, 297, 346, 348, 350, \
        356, 358, 361, 362, 365, 372, 376, 420, 425, 61, 291, 0, 17                                                 \
  }

/* A face as FaceDetect gives it. */
typedef struct FaceEntry {
  int32_t corners[8]; /* top-left, top-right, bottom-left, bottom-right of the face's own upright frame, (x, y)
                         each; may lie outside the image */
  int32_t unread;     /* score in thousandths */
  int32_t tag;        /* fine roll in hundredths of a degree; goes back to FaceAlign as it is */
} FaceEntry;

/* The face that FaceAlign is to describe. */
typedef struct FaceArgument {
  int32_t corners[8]; /* as in FaceEntry, clamped to the image or not */
  int32_t tag;        /* FaceEntry's tag */
} FaceArgument;

/* Creates the detector, the landmarker or the third analysis. Null when memory is short or a model cannot be
 * loaded. The caller frees each with its release function; null is allowed there. */
QX_FACE_SDK_API void* FaceDetectorCreate(void);
QX_FACE_SDK_API void FaceDetectorRelease(void* detector);
QX_FACE_SDK_API void* LandmarkerCreate(void);
QX_FACE_SDK_API void LandmarkerRelease(void* landmarker);
QX_FACE_SDK_API void* FaceAttrCreate(void);
QX_FACE_SDK_API void FaceAttrRelease(void* analyser);

/* Settings of the detector; they stay until they are set again. */
/* 1 (default): look for faces in all four quarter turns; 0: upright faces only. */
QX_FACE_SDK_API void SetDetectFlagA(void* detector, int32_t value);
/* Overlap (intersection over union) above which two detections are the same face, in fiftieths; 15, the default, is
 * 0.30. */
QX_FACE_SDK_API void SetDetectParamB(void* detector, int32_t value);
/* 1 (default): report a face when the landmark model confirms it or its score is 0.75 or more; 0: believe every
 * score. */
QX_FACE_SDK_API void SetDetectFlagC(void* detector, int32_t value);
/* Lowest score of a face, in thousandths; default 550. */
QX_FACE_SDK_API void SetDetectThreshold(void* detector, int32_t value);
/* Range of face sizes in pixels for which the search is laid out; default 80 and no limit. The upper bound limits what
 * is reported, by the smaller side of the face's part inside of the image; the lower bound does not (smaller faces that
 * are found anyway are reported) but says down to which size a large image is worth a close search. */
QX_FACE_SDK_API void SetDetectSizeRange(void* detector, int32_t lower, int32_t upper);
/* Side in pixels of the smallest face to report; default 25. A smaller number finds more: below 15 an image in which
 * nothing was found is searched once more, closely. */
QX_FACE_SDK_API void SetDetectMinFace(void* detector, int32_t value);

/* Finds faces. Writes the number of faces to *count and an array of that many entries to *faces (null for none),
 * best score first. The caller frees the array with FaceListFree. When memory is short the count is -1 and the array
 * null, whatever the photograph holds. */
QX_FACE_SDK_API void FaceDetect(void* detector, const uint8_t* grey, int32_t width, int32_t height, int32_t channels,
                                FaceEntry** faces, int32_t* count);
/* Frees an array of FaceDetect. Null is allowed. */
QX_FACE_SDK_API void FaceListFree(FaceEntry* faces);

/* Describes one face.
 * outD, outE          presence of the face by the landmark model in thousandths; fine roll in hundredths of a degree
 * scratchBlock1, 2    QX_FACE_BLOCK_INTS int32 each, free for the engine's use, now not written
 * landmarks           38 points: 0 to 7 left eye, 8 to 15 right eye, 16 to 20 mouth, 21 to 30 brows, 31 to 37 nose
 * keyPoints           11 points: eye centres, nose tip, mouth corners, brows, nose root, nose base, mouth, chin
 * attrBlock           QX_FACE_BLOCK_INTS int32, to be handed to FaceAttr of the same face
 * outF, outG, outH    openness of the left eye, the right eye and the mouth; below 100 an eye counts as closed
 * scratch1 to 3       free for the engine's use
 * infoA to infoC      quarter turns clockwise, 0 to 3; outE and outD again; to be handed to FaceAttr of the same face
 * Any of the outputs may be null. All are zero when there is nothing to describe, and points that lie outside of the
 * image are at most one image size away from it. When memory is short, outD and infoC are -1 and all else is zero. */
QX_FACE_SDK_API void FaceAlign(void* landmarker, const uint8_t* grey, int32_t width, int32_t height, int32_t channels,
                               const FaceArgument* face, int32_t* outD, int32_t* outE, int32_t* scratchBlock1,
                               int32_t* landmarks, int32_t* scratchBlock2, int32_t* keyPoints, int32_t* attrBlock,
                               int32_t* outF, int32_t* outG, int32_t* outH, int32_t* scratch1, int32_t* scratch2,
                               int32_t* scratch3, int32_t* infoA, int32_t* infoB, int32_t* infoC);

/* Writes the 88 points of the dense description: 0 to 7 left eye, 8 to 15 left brow, 16 to 23 right eye, 24 to 31
 * right brow, 32 to 44 nose, 45 to 66 mouth, 67 to 87 outline of the face. Reads the image's size and attrBlock; all
 * points are zero for a block that FaceAlign left zero. */
QX_FACE_SDK_API void FaceAttr(void* analyser, const uint8_t* grey, int32_t width, int32_t height, int32_t channels,
                              const int32_t* keyPoints, const int32_t* attrBlock, int32_t infoA, int32_t infoB,
                              int32_t infoC, int32_t* attributes);

#ifdef __cplusplus
}
#endif

#endif /* QX_FACE_SDK_H */
