/* Packed items: what the library asks for by this name. */
#include "oocobol/oocobol.h"

struct Picture {
    int32_t length, digits;
};

/* newclass (length and digits) -> class of items of that length. */
static void newClass(const oops_ref *self, void *data, oops_ref *returning, const struct Picture *picture) {
    static oops_super_site newclass = OOPS_SUPER_SITE("comp3", "newclass");
    static oops_site setDigits = OOPS_SITE("setdigits");
    oops_ref made = 0;
    oopsresolvetosuper(&newclass, self, data, 2, &made, &picture->length);
    oopsresolve(&setDigits, made, 2, NULL, &picture->digits);
    if (returning != NULL) *returning = made;
}

/* setdigits (count). digits () -> count. */
static void setDigitsOf(const oops_ref *self, int32_t *classData, void *returning, const int32_t *digits) {
    (void)self, (void)returning;
    *classData = *digits;
}
static void digitsOf(const oops_ref *self, int32_t *classData, int32_t *returning) {
    (void)self;
    if (returning != NULL) *returning = *classData;
}

/* number () -> number. Two digits a byte; the last half byte is the sign. */
static void number(const oops_ref *self, const unsigned char *data, int32_t *returning) {
    static oops_site size = OOPS_SITE("size");
    int32_t length = 0, value = 0, i;
    oopsresolve(&size, *self, 1, &length);
    for (i = 0; i < length; ++i) {
        value = value * 10 + (data[i] >> 4);
        if (i < length - 1) value = value * 10 + (data[i] & 15);
    }
    if (returning != NULL) *returning = value;
}

OOCOBOL_PUBLIC int64_t comp3(void);
int64_t comp3(void) {
    union {
        unsigned char bytes[OOPS_RECORD_SIZE + 200];
        uint64_t aligned;
    } record;
    oops_ref picx = 0, made = 0;
    oopsgetclassobject(&picx, "picx");
    oops(2);
    oopsrecord(record.bytes, "comp3", "cobolcomp3", picx, sizeof(int32_t), 0);
    oopsrecordmethod(record.bytes, sizeof record, "newclass", (oops_method)newClass, 2, OOPS_CLASS_METHOD);
    oopsrecordmethod(record.bytes, sizeof record, "setdigits", (oops_method)setDigitsOf, 2, OOPS_CLASS_METHOD);
    oopsrecordmethod(record.bytes, sizeof record, "digits", (oops_method)digitsOf, 1, OOPS_CLASS_METHOD);
    oopsrecordmethod(record.bytes, sizeof record, "number", (oops_method)number, 1, 0);
    oopsnewclass2(record.bytes, &made);
    return 0;
}
