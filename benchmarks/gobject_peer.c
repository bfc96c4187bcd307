// The peer of signals: an object of GLib's object system that emits a signal, named by its number, to its class's
// method, with a marshaller of its own.
#include <glib-object.h>
#include <stdint.h>

typedef struct {
    GObject parent;
    gint32 k;
} Peer;
typedef struct {
    GObjectClass parent;
    gint32 (*bump)(Peer *self, const gint32 *x);
} PeerClass;
G_DEFINE_TYPE(Peer, peer, G_TYPE_OBJECT)

static guint bumpSignal;

static gint32 bump(Peer *self, const gint32 *x) { return *x + 1 + self->k; }

static void marshalBump(GClosure *closure, GValue *result, guint count, const GValue *arguments, gpointer hint,
                        gpointer method) {
    (void)count, (void)hint, (void)closure;
    gint32 (*function)(gpointer, gpointer);
    *(gpointer *)&function = method;
    g_value_set_int(result, function(g_value_peek_pointer(arguments), g_value_get_pointer(arguments + 1)));
}

static void peer_init(Peer *self) { self->k = 0; }
static void peer_class_init(PeerClass *class) {
    class->bump = bump;
    bumpSignal = g_signal_new("bump", G_TYPE_FROM_CLASS(class), G_SIGNAL_RUN_LAST, G_STRUCT_OFFSET(PeerClass, bump),
                              NULL, NULL, marshalBump, G_TYPE_INT, 1, G_TYPE_POINTER);
}

void *gobject_peer_make(void);
int64_t gobject_peer_emits(void *object, int count);

void *gobject_peer_make(void) { return g_object_new(peer_get_type(), NULL); }

int64_t gobject_peer_emits(void *object, int count) {
    int64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        gint32 x = i, answer = 0;
        g_signal_emit(object, bumpSignal, 0, &x, &answer);
        sum += answer;
    }
    return sum;
}
