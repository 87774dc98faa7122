#include "jni/NativeCall.h"

#include <new>

#include "jni/GpsDRInterface.h"
#include "platform/mAndroidLog.h"

std::atomic<JavaVM*> mJavaVM{nullptr};
std::atomic<jclass> jNativesCls2{nullptr};
std::atomic<GpsDRInterface*> g_pGpsDr{nullptr};
std::atomic<int32_t> g_nNowRun{0};

namespace {

constexpr std::memory_order kRelaxed = std::memory_order_relaxed;
constexpr char kTag[] = "JNI";
constexpr char kClassName[] = "com/corvane/velmorith/NativeCall";

// The global reference made at load; every call goes through it.
std::atomic<jclass> g_nativesClsRef{nullptr};

// AttachCurrentThread takes JNIEnv** in the NDK's jni.h and void** in the JDK's.
struct EnvOut {
    JNIEnv** env;
    operator JNIEnv**() const { return env; }
    operator void**() const { return reinterpret_cast<void**>(env); }
};

jint GetEnv(JavaVM* vm, JNIEnv** env)
{
    return vm->GetEnv(reinterpret_cast<void**>(env), JNI_VERSION_1_6);
}

// A pending exception makes every further JNI call on this thread undefined; the update thread
// keeps calling, so one failed call must not poison the next.
void DropPendingException(JNIEnv* env)
{
    if (env->ExceptionCheck()) env->ExceptionClear();
}

}  // namespace

jint JNI_OnLoad(JavaVM* vm, void* /*reserved*/)
{
    JNIEnv* env = nullptr;
    if (GetEnv(vm, &env) != JNI_OK) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "ERROR: GetEnv failed\n");
        return -1;
    }
    JavaVM* own = nullptr;
    env->GetJavaVM(&own);
    mJavaVM.store(own, kRelaxed);

    jclass local = env->FindClass(kClassName);
    jNativesCls2.store(local, kRelaxed);
    if (!local) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "ERROR: jNativesCls2  is NULL %d \n", 424);
        return -1;
    }
    g_nativesClsRef.store(static_cast<jclass>(env->NewGlobalRef(local)), kRelaxed);
    env->DeleteLocalRef(local);
    return JNI_VERSION_1_6;
}

jint Java_com_corvane_velmorith_NativeCall_StartGPSDRmodule(JNIEnv* /*env*/, jobject /*thiz*/)
{
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "StartOnlyGpsDRModule\n");
    // A facade from an earlier start is deliberately left alive (and its update thread with
    // it); the facade itself notices when its manager is freed under it.
    g_pGpsDr.store(nullptr, kRelaxed);
    GpsDRInterface* dr = new (std::nothrow) GpsDRInterface();
    g_pGpsDr.store(dr, kRelaxed);
    if (!dr) return 0;
    g_nNowRun.store(1, kRelaxed);
    return dr->StartOnlyGpsDRModule();
}

jint Java_com_corvane_velmorith_NativeCall_EndGPSDRmodule(JNIEnv* /*env*/, jobject /*thiz*/)
{
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "EndOnlyGpsDRModule\n");
    GpsDRInterface* dr = g_pGpsDr.load(kRelaxed);
    if (!dr) return 0;
    // Cleared first so that no callback reaches Java while the driver winds down.
    g_nNowRun.store(0, kRelaxed);
    return dr->EndOnlyGpsDRModule();
}

void Call_Java_NativeCall_SendGISInfo(double lat, double lon, double alt, int a, int b, int heading,
                                      int reserved, const char* time)
{
    if (g_nNowRun.load(kRelaxed) != 1) return;
    JavaVM* vm = mJavaVM.load(kRelaxed);
    if (!vm) return;  // not loaded by a VM: nobody to call

    JNIEnv* env = nullptr;
    bool attachedHere = false;
    if (GetEnv(vm, &env) != JNI_OK) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "Attaching this Thread VM");
        if (vm->AttachCurrentThread(EnvOut{&env}, nullptr) != JNI_OK) {
            __android_log_print(ANDROID_LOG_ERROR, kTag, "this thread Attach in VM failed\n");
            return;
        }
        attachedHere = true;
    }
    if (!env) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "env failed\n");
        return;
    }

    jclass cls = g_nativesClsRef.load(kRelaxed);
    jmethodID method = env->GetStaticMethodID(cls, "sendGISInfo", "(DDDIIIILjava/lang/String;)V");
    if (!method) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "GetStaticMethodID fail");
        DropPendingException(env);
        if (attachedHere) vm->DetachCurrentThread();
        return;
    }

    jstring text = time ? env->NewStringUTF(time) : nullptr;
    DropPendingException(env);
    env->CallStaticVoidMethod(cls, method, lat, lon, alt, static_cast<jint>(a), static_cast<jint>(b),
                              static_cast<jint>(heading), static_cast<jint>(reserved), text);
    DropPendingException(env);
    if (text) env->DeleteLocalRef(text);
    // The thread stays attached: the update thread detaches once, when it ends.
}

jint VMdetachingThread()
{
    JavaVM* vm = mJavaVM.load(kRelaxed);
    if (!vm) return JNI_ERR;
    JNIEnv* env = nullptr;
    jint got = GetEnv(vm, &env);
    if (got != JNI_OK) return got;
    vm->DetachCurrentThread();
    __android_log_print(ANDROID_LOG_ERROR, kTag, "detaching complted VM. (this thread)");
    return JNI_OK;
}
