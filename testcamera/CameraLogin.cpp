#include "testcamera/CameraLogin.h"

namespace lumvik::test {

namespace {

/// An authentication that asks a LoginLock. GObject requires the parent to be the first member.
struct LockingAuth {
    GstRTSPAuth parent;
    LoginLock *lock;
};
struct LockingAuthClass {
    GstRTSPAuthClass parent;
};

GstRTSPAuthClass *parentClass = nullptr;

/// Sets the context's token if the request contains a login that is accepted. Called once for each
/// request. Without a token, gst-rtsp-server answers with 401 and a challenge.
gboolean authenticate(GstRTSPAuth *auth, GstRTSPContext *context) {
    if (parentClass->authenticate(auth, context) == FALSE)
        return FALSE;
    gchar *login = nullptr;
    const bool hasLogin = gst_rtsp_message_get_header(context->request, GST_RTSP_HDR_AUTHORIZATION,
                                                      &login, 0) == GST_RTSP_OK;
    LoginLock *lock = reinterpret_cast<LockingAuth *>(auth)->lock;
    if (hasLogin && !lock->accepts(context->token != nullptr, secondsSinceStart()))
        context->token = nullptr;
    return TRUE;
}

void initialiseClass(gpointer type, gpointer) {
    parentClass = GST_RTSP_AUTH_CLASS(g_type_class_peek_parent(type));
    static_cast<GstRTSPAuthClass *>(type)->authenticate = authenticate;
}

GType lockingAuthType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_RTSP_AUTH, "LumvikLockingAuth", sizeof(LockingAuthClass), initialiseClass,
        sizeof(LockingAuth), nullptr, GTypeFlags(0));
    return type;
}

} // namespace

GObjectPointer<GstRTSPAuth> makeCameraLogin(const CameraOptions &options, const char *role,
                                            LoginLock &lock) {
    (void)secondsSinceStart();
    const QByteArray user = options.user.toUtf8();
    const QByteArray password = options.password.toUtf8();
    GObjectPointer<GstRTSPAuth> auth(GST_RTSP_AUTH(g_object_new(lockingAuthType(), nullptr)));
    reinterpret_cast<LockingAuth *>(auth.get())->lock = &lock;
    gst_rtsp_auth_set_realm(auth.get(), "camera");
    gst_rtsp_auth_set_supported_methods(
        auth.get(), static_cast<GstRTSPAuthMethod>(GST_RTSP_AUTH_BASIC | GST_RTSP_AUTH_DIGEST));
    GstRTSPToken *token =
        gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, role, nullptr);
    gchar *basic = gst_rtsp_auth_make_basic(user.constData(), password.constData());
    gst_rtsp_auth_add_basic(auth.get(), basic, token);
    gst_rtsp_auth_add_digest(auth.get(), user.constData(), password.constData(), token);
    g_free(basic);
    gst_rtsp_token_unref(token);
    return auth;
}

double secondsSinceStart() {
    static const gint64 start = g_get_monotonic_time();
    return static_cast<double>(g_get_monotonic_time() - start) / G_USEC_PER_SEC;
}

} // namespace lumvik::test
