/* VEXILO3D: the types shared by the library, the workstation and plug-in modules. */
#ifndef VEXILO3D_TYPES_H
#define VEXILO3D_TYPES_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#  if defined(VEXILO3D_BUILDING)
#    define V3D_API __declspec(dllexport)
#  else
#    define V3D_API __declspec(dllimport)
#  endif
#else
#  define V3D_API __attribute__((visibility("default")))
#endif

/* data type codes: bit values, so that callers pass masks of acceptable types */
enum {
    V3D_TYPE_NONE = 0,  /* a free table slot, a destroyed or failed record */
    V3D_TYPE_UC = 1,    /* unsigned 8-bit */
    V3D_TYPE_F = 2,     /* 32-bit float */
    V3D_TYPE_I = 4,     /* 32-bit signed int */
    V3D_TYPE_ANY = 7
};

/* colour type codes, bit values as well */
enum {
    V3D_COLOR_GREY = 1, /* one channel */
    V3D_COLOR_RGB = 2,  /* three channels */
    V3D_COLOR_ANY = 3
};

typedef union VolumeData {      /* one channel's storage, addressed [z][y][x] */
    unsigned char ***uc;        /* type 1 */
    float         ***f;         /* type 2 */
    int           ***i;         /* type 4 */
    void           *p;
} VolumeData;

typedef struct Volume {
    VolumeData data[3];         /* channel 0 (grey or red), 1 (green), 2 (blue) */
    int  type;                  /* 0, 1, 2 or 4 */
    int  colortype;             /* 1 or 2 */
    int  Z, Y, X;               /* frames, rows, columns */
    char name[152];
    int  x1, x2, y1, y2, z1, z2;/* VOI, half-open */
} Volume;

/* a two-dimensional image: image[channel][row][column], rows of bytes */
typedef unsigned char ***Image2d;

typedef struct StackRecord3d { int z, y, x, extra; } StackRecord3d;
typedef struct StackNode3d { StackRecord3d rec; struct StackNode3d *next; } StackNode3d;

typedef struct Buffer {         /* projection picture */
    int colortype;              /* 1 grey, 2 RGB */
    int width, height;
    unsigned char **image[3];   /* per channel: height row pointers into one zeroed block */
} Buffer;

typedef struct Projection {     /* the user area follows this header in the same block */
    int   type;
    void *source;
    void *user;
} Projection;

#ifdef __cplusplus
}
#endif

#endif
