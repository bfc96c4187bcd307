/* oocobol: the object runtime and base class library of object-oriented COBOL.
 *
 * This header is the whole C interface; it serves C99 and C++. Conventions that hold everywhere:
 *
 * - An object reference is 8 bytes and never a pointer. 0 is the null reference. A reference to an object that has
 *   been finalized is recognised as stale, whatever has been created since.
 * - Every argument of a message is the address of a data item; the items need no alignment. A null address is an
 *   omitted argument. The returning item, where there is one, comes first.
 * - Numbers in items are native binary: counts, lengths and indexes 4 bytes, flags 1 byte (1 true, 0 false).
 * - A name ends at its first space or null byte; letter case does not matter. No name is read beyond 65,535 bytes.
 * - Errors are raised to a handler (class program `exptnmgr`), they do not unwind: the failing function returns.
 * - Nothing here throws. Every function may be called from any thread. */
#ifndef OOCOBOL_OOCOBOL_H
#define OOCOBOL_OOCOBOL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define OOCOBOL_PUBLIC __attribute__((visibility("default")))
#else
#define OOCOBOL_PUBLIC
#endif

typedef uint64_t oops_ref; /* an object reference; 0 is the null reference */

/* ---- Sends ------------------------------------------------------------------------------------------------- */

/* A send site: the method's name and the lookup it remembers. Make one for each place in a program that sends, with
 * OOPS_SITE, in static storage; any number of threads may share it. The other fields are the runtime's. */
typedef struct oops_site {
    const char *method;
    uint32_t cell;
    uint32_t reserved;
} oops_site;
#define OOPS_SITE(name) \
    { (name), 0, 0 }

/* A super send's site names also the class program whose method sends: lookup starts at that class's superclass. */
typedef struct oops_super_site {
    oops_site site;
    const char *class_program;
} oops_super_site;
#define OOPS_SUPER_SITE(class_program, name) \
    { OOPS_SITE(name), (class_program) }

/* Sends a message. `count` is 1 (for the returning item) plus the number of argument addresses that follow, at most
 * 16; `returning` may be null. A message that nobody understands ends in `doesnotunderstand` of the receiver, which
 * raises 24; a null receiver answers as `base` or the null object does; a stale or garbage receiver raises 106. */
OOCOBOL_PUBLIC void oopsresolve(oops_site *site, oops_ref receiver, int32_t count, void *returning, ...);

/* The same from a method to its own object: `self` and `data` as the method was given them. Over the bare bytes of a
 * static send this is the only way to reach self. */
OOCOBOL_PUBLIC void oopsresolveself(oops_site *site, const oops_ref *self, void *data, int32_t count, void *returning,
                                    ...);

/* The same, with the lookup starting above the class named in the site. */
OOCOBOL_PUBLIC void oopsresolvetosuper(oops_super_site *site, const oops_ref *self, void *data, int32_t count,
                                       void *returning, ...);

/* Runs an instance method of `class_object` over `data` as if it were the data of an instance. The caller answers
 * for `data` holding as many bytes as the class's elements. */
OOCOBOL_PUBLIC void oopsresolvestatic(oops_site *site, oops_ref class_object, void *data, int32_t count,
                                      void *returning, ...);

/* The four sends with the addresses in an array, the returning item's first: for callers that build their lists, and
 * the fastest way to send. In the first, everything stands where a method takes it. */
OOCOBOL_PUBLIC void oopsresolvelist(oops_ref receiver, oops_site *site, void *const *arguments, int32_t count);
OOCOBOL_PUBLIC void oopsresolveselflist(oops_site *site, const oops_ref *self, void *data, int32_t count,
                                        void *const *arguments);
OOCOBOL_PUBLIC void oopsresolvetosuperlist(oops_super_site *site, const oops_ref *self, void *data, int32_t count,
                                           void *const *arguments);
OOCOBOL_PUBLIC void oopsresolvestaticlist(oops_site *site, oops_ref class_object, void *data, int32_t count,
                                          void *const *arguments);

/* A send with a name held in data. `count` is 1 (for the returning item) plus the number of argument addresses that
 * follow; `returning` may be null. The two cache words are 8 bytes each, zero before first use, or null. They may be
 * copied, and may be cleared or dropped at any time. */
OOCOBOL_PUBLIC void cobinvoke2(oops_ref receiver, const char *method, void *second_cache_word, void *cache_word,
                               int32_t count, void *returning, ... /* void *argument1, ... */);

/* Drops the lookup that a cache word holds; the word becomes 0. */
OOCOBOL_PUBLIC void oopsfreecache(void *cache_word);

/* ---- Classes ----------------------------------------------------------------------------------------------- */

/* A method's code, registered with a class. It gets the address of its own reference, the address of the data that
 * its class declares, the returning item (null when omitted) and the arguments, null where omitted: as many addresses
 * as its parameter count says. What it returns is ignored. The data's address is good until the method sends a
 * message that finalizes its object. */
typedef void (*oops_method)(const oops_ref *self, void *data, void *returning, ...);

/* An initialiser: gets the address of the class's or the new instance's own data, zero-filled. */
typedef void (*oops_initialiser)(void *data);

enum {
    OOPS_RECORD_SIZE = 112,   /* the fixed part of a registration record */
    OOPS_CLASS_METHOD = 0x01, /* attribute: class method (else instance method) */
    OOPS_WHOLE_DATA = 1       /* data model: the sizes include the superclass's data, see below */
};

/* A registration record: 112 bytes, then the method entries back to back. Offsets and widths (integers big-endian,
 * addresses and references native):
 *   4 4 class data size       8 4 instance data size     12 4 class methods      16 4 instance methods    28 4 zero
 *  32 8 class initialiser or 0                           40 8 instance initialiser or 0
 *  48 8 class program name, space padded                 56 30 class name, space padded
 *  86 1 data model: 0, the sizes are what the class adds behind its superclass's data, and its methods get the
 *       address of that; OOPS_WHOLE_DATA, the class declares its superclass's fields again in front of its own.
 *       Below an intrinsic class the data is always the value itself and the instance size is not used.
 *  88 8 superclass reference
 * A method entry: 8 address, 1 zero, 1 parameter count (returning item included), 1 zero, 1 attributes, then the name,
 * ended by a null byte and at least 4 zero bytes more, up to where the entry's length is a multiple of 8. Class methods
 * first.
 * oopsrecord and oopsrecordmethod below write this form. */

/* Called by each class program before it registers; the argument is 2. */
OOCOBOL_PUBLIC void oops(int32_t request);

/* Registers the class of a record and sends it `initializeclass`; *result is the class object. A record that cannot
 * be registered (no such superclass, the name of a class of the library, sizes out of range) raises 107 and *result is
 * 0. A class program that is registered already answers its class object again. The record is copied. */
OOCOBOL_PUBLIC void oopsnewclass2(const void *record, oops_ref *result);

/* Adds the methods of a record to the registered class whose program the record names; a method of a name that the
 * class has already replaces it. Running sends are not disturbed. Raises 107 when there is no such class. */
OOCOBOL_PUBLIC void oopsextendclass2(const void *record);

/* Writes a record's fixed part into `record` (OOPS_RECORD_SIZE bytes) with no methods yet. Names longer than their
 * fields are cut. */
OOCOBOL_PUBLIC void oopsrecord(void *record, const char *class_program, const char *class_name, oops_ref superclass,
                               uint32_t class_data_size, uint32_t instance_data_size);

/* Appends a method entry to a record whose area holds `capacity` bytes; class methods come before instance methods.
 * Answers 1, or 0 with the record unchanged when it does not fit or the order is wrong. */
OOCOBOL_PUBLIC int32_t oopsrecordmethod(void *record, size_t capacity, const char *name, oops_method entry,
                                        int32_t parameter_count, int32_t attributes);

/* The class object of a class program ("ordrdcll", any case, ended by a space or a null byte), loaded and
 * registered on first use; *result is 0 when there is no such program. */
OOCOBOL_PUBLIC void oopsgetclassobject(oops_ref *result, const char *class_program);

/* The superclass of a class object; null above `base` and for what is no class. */
OOCOBOL_PUBLIC void oopsgetsuperclass(oops_ref class_object, oops_ref *result);

/* Class name and class program name in 30 space-padded bytes; all spaces for what is no class. */
OOCOBOL_PUBLIC void oopsclassname(oops_ref class_object, char buffer[30]);
OOCOBOL_PUBLIC void oopsgetclassfilename(oops_ref class_object, char buffer[30]);

/* The class's own method names (an 8-byte count, then names that end with null bytes), its live instances, or all
 * registered classes (an 8-byte count, then references). The caller frees the area with oopsfree; null when memory
 * is short. A null class in oopsgetallinstances lists every live object. */
OOCOBOL_PUBLIC void *oopsgetmethodnames(oops_ref class_object);
OOCOBOL_PUBLIC void *oopsgetallinstances(oops_ref class_object);
OOCOBOL_PUBLIC void *oopsgetallclasses(void);
OOCOBOL_PUBLIC void oopsfree(void *list);

/* How many live instances a class has (those made from it, not from its subclasses). With the null reference: how
 * many live objects there are, the library's own singletons and the class objects left out. */
OOCOBOL_PUBLIC uint32_t oopsgetobjectcount(oops_ref class_object);

/* ---- Objects ----------------------------------------------------------------------------------------------- */

/* A new instance, or one with indexed data of `count` bytes; zero-filled, then initialised. Null when memory is
 * short or there is no such class. */
OOCOBOL_PUBLIC oops_ref oopsnewinstance(oops_ref class_object);
OOCOBOL_PUBLIC oops_ref oopsnewindexedinstance(oops_ref class_object, uint32_t count);

/* Releases an object's memory; what it owns is its own `finalize`'s affair. A stale or null reference is let be. */
OOCOBOL_PUBLIC void oopscancel(oops_ref object);

/* A byte copy of an object, of the same class; null when memory is short or the object is gone. */
OOCOBOL_PUBLIC oops_ref oopsshallowcopy(oops_ref object);

/* Copies the data of `from` over the data of `to` where both are live and of the same class and size; answers 1, else
 * 0 and changes nothing. */
OOCOBOL_PUBLIC int32_t oopscopyobjectcontents(oops_ref to, oops_ref from);

/* The two objects exchange identities: what reached one reaches the other. Classes stay as they are (raises 88). */
OOCOBOL_PUBLIC void oopsbecomes(oops_ref one, oops_ref other);

/* The object's class; `behavior` for a class object, `nilobject` for null, 0 for a stale reference. */
OOCOBOL_PUBLIC oops_ref oopsgetclass(oops_ref object);

/* 1 when the reference reaches a live object. */
OOCOBOL_PUBLIC int32_t oopsislive(oops_ref object);

/* One pointer slot per object, null until set; the object does not own what it points to. */
OOCOBOL_PUBLIC void *oopsgetcomponentdata(oops_ref object);
OOCOBOL_PUBLIC void oopssetcomponentdata(oops_ref object, void *pointer);

/* Zero-filled memory of `size` bytes (0 gives an area too), null when it cannot be had; aligned to 16 bytes. */
OOCOBOL_PUBLIC void *oopsallocmemory(uint32_t size);
OOCOBOL_PUBLIC void oopsfreememory(void *memory);

/* Resizes the indexed data of an object to `count` bytes, zero-filling what is new; answers 1, or 0 with nothing
 * changed. The data may move. */
OOCOBOL_PUBLIC int32_t oopsgrow(oops_ref object, uint32_t count);

/* Where an object's data starts, and how far behind it the indexed data starts; null and 0 for a dead reference. */
OOCOBOL_PUBLIC void *oopsgetaddress(oops_ref object);
OOCOBOL_PUBLIC uint32_t oopsindexeddataoffset(oops_ref object);

/* The name of the last message that the object did not understand on this thread, space padded, and a line that says
 * what happened; either buffer may be null. */
OOCOBOL_PUBLIC void oopserrordetails(oops_ref object, char name[160], char detail[160]);

/* ---- The run ------------------------------------------------------------------------------------------------ */

/* Trace lines go to the standard error output at every level but 0. Bit 1 traces sends; bit 0x10000 signals. */
OOCOBOL_PUBLIC void oopstrace(const char *text);
OOCOBOL_PUBLIC uint32_t oopsgettracelevel(void);
OOCOBOL_PUBLIC void oopssettracelevel(uint32_t level);

/* The runtime's version: 9 characters, "0002.0002" or higher, then 7 spaces. */
OOCOBOL_PUBLIC void oopsgetversion(char area[16]);

/* Gives the dynamic call a program entry: later calls of `name` (any case) reach `entry` with 15 addresses,
 * null where there is no argument; its 8-byte result is the entry's answer. A null entry withdraws the name. */
typedef int64_t (*host_entry)(void *a1, void *a2, void *a3, void *a4, void *a5, void *a6, void *a7, void *a8, void *a9,
                              void *a10, void *a11, void *a12, void *a13, void *a14, void *a15);
OOCOBOL_PUBLIC void host_register_entry(const char *name, host_entry entry);

/* ---- The door for COBOL programs ---------------------------------------------------------------------------- */

/* These are called from COBOL, BY REFERENCE, with names as literals or items (they end at a space, a null byte or the
 * end of the item); C programs have the functions above. All return 0, so RETURN-CODE is 0 after them unless the CALL
 * says RETURNING OMITTED. The copybook cobol/oocobol.cpy has the items. */

/* Does nothing but start the runtime: CALL "liboocobol" finds the library by its file name, see the README. */
OOCOBOL_PUBLIC int liboocobol(void);
/* CALL "ooclass" USING class-program class-object: the class object, or null when there is no such program. */
OOCOBOL_PUBLIC int ooclass(const char *class_program, void *class_object);
/* CALL "ooclasses" USING OO-CLASSES: fills the copybook's group of class objects. */
OOCOBOL_PUBLIC int ooclasses(void *slots);
/* CALL "oosend" USING method receiver [returning-item [argument ...]]; OMITTED leaves an item out. */
OOCOBOL_PUBLIC int oosend(const char *name, const void *receiver, ...);
/* CALL "oofinalize" USING reference: sends `finalize` and sets the reference to null. */
OOCOBOL_PUBLIC int oofinalize(void *reference);
/* CALL "oosuper" USING "program.method" self [returning-item [argument ...]]: a message to self whose lookup starts
 * above the class of that class program. */
OOCOBOL_PUBLIC int oosuper(const char *name, const void *self, ...);
/* A class in COBOL. CALL "ooclassbegin" USING class-program class-name superclass class-data-size instance-data-size
 * (4-byte COMP-5 items), then CALL "oomethod" USING "C" or "I" (class or instance method) name program-pointer
 * parameter-count (the returning item included), CALL "ooinitializer" USING "C" or "I" program-pointer where there is
 * one, and CALL "ooclassend" USING class-object, which registers the class; null and error 107 when it cannot be. */
OOCOBOL_PUBLIC int ooclassbegin(const char *class_program, const char *class_name, const void *superclass,
                                const void *class_data_size, const void *instance_data_size);
OOCOBOL_PUBLIC int oomethod(const char *kind, const char *name, const void *entry, const void *parameter_count);
OOCOBOL_PUBLIC int ooinitializer(const char *kind, const void *entry);
OOCOBOL_PUBLIC int ooclassend(void *class_object);
/* CALL "oolive" USING reference flag: 1 when it reaches a live object. */
OOCOBOL_PUBLIC int oolive(const void *reference, void *flag);
/* CALL "oocount" USING class-object count: its live instances; with a null reference all objects that the program owns.
 */
OOCOBOL_PUBLIC int oocount(const void *class_object, void *count);
/* CALL "ooattach" USING RETURN-CODE: the return code that the run ends with when a handler ends it. */
OOCOBOL_PUBLIC int ooattach(const void *return_code);

/* Whether the run time is recent enough, for programs that ask: CALL "CVERSION" answers 1 when it is too old, else 0;
 * CALL "CLVERSN" and CALL "class" answer 0 when it is too old, else 1. */
OOCOBOL_PUBLIC int CVERSION(void);
OOCOBOL_PUBLIC int CLVERSN(void);
#ifndef __cplusplus
OOCOBOL_PUBLIC int class(void);
#endif

#ifdef __cplusplus
}
#endif
#endif
