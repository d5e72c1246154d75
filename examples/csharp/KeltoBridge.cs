using System;
using System.Collections.Concurrent;
using System.Json;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;
using System.Threading.Tasks;

namespace Kelto
{
    /// Whatever goes wrong here: the message is one sentence for a person.
    public class KeltoException : Exception
    {
        public KeltoException(string sentence) : base(sentence) { }
    }

    /// The library's own refusal, to be shown as it is. Nothing was merged.
    public sealed class ExchangeRefused : KeltoException
    {
        public ExchangeRefused(string sentence) : base(sentence) { }
    }

    /// The whole merged library, as one exchange has answered it.
    public sealed class Snapshot
    {
        internal Snapshot(JsonArray records, JsonValue answer)
        {
            Records = records;
            Directory = Member.Text(answer, "directory");
            Status = Member.Text(answer, "status");
        }

        public JsonArray Records { get; }
        public string Directory { get; }
        /// A sentence about the synchronisation, to be shown as it is.
        public string Status { get; }
    }

    /// Kelto's bridge library: its four C functions. One is enough for a process; any thread may use
    /// it. Exchanges happen on the main thread, while GLib's default main context turns there: see
    /// GlibLoop. docs/hosting-csharp.md says more, docs/exchange-format.md what the texts hold.
    public sealed class KeltoBridge
    {
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        delegate IntPtr GroupPathFunction();
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        delegate void FreeFunction(IntPtr pointer);
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        delegate int AvailableFunction();
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        delegate void ExchangeFunction(byte[] request, IntPtr context, IntPtr callback);
        [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
        delegate void Callback(IntPtr context, IntPtr response);

        // One delegate for all exchanges, held for ever: the collector must not take, while a call
        // may still come, what native code has the address of. The context that goes along is a
        // number, not an object's address, so objects may be moved.
        static readonly Callback answered = Answered;
        static readonly IntPtr answeredPointer = Marshal.GetFunctionPointerForDelegate(answered);
        static readonly ConcurrentDictionary<long, TaskCompletionSource<byte[]>> waiting =
            new ConcurrentDictionary<long, TaskCompletionSource<byte[]>>();
        static long lastTicket;

        readonly GroupPathFunction groupPath;
        readonly FreeFunction free;
        readonly AvailableFunction available;
        readonly ExchangeFunction exchange;

        /// Loads the library `path`; without one, what KELTO_LIBRARY names or the system knows.
        public KeltoBridge(string path = null)
        {
            string name = path ?? Environment.GetEnvironmentVariable("KELTO_LIBRARY");
            if (string.IsNullOrEmpty(name)) name = "libkelto.so.1";
            Marshal.PrelinkAll(typeof(Native)); // Looking these up later would overwrite dlerror's text.
            IntPtr library = Native.dlopen(Utf8.Bytes(name), Native.BindNow);
            if (library == IntPtr.Zero)
                throw new KeltoException($"Kelto’s library couldn’t be loaded ({Native.LastError()}). " +
                    "Build it with “./dev build”, and name libkelto.so.1 in KELTO_LIBRARY.");
            groupPath = Function<GroupPathFunction>(library, name, "kelto_apple_group_path");
            free = Function<FreeFunction>(library, name, "kelto_apple_free");
            available = Function<AvailableFunction>(library, name, "kelto_apple_cloud_available");
            exchange = Function<ExchangeFunction>(library, name, "kelto_apple_exchange");
        }

        static T Function<T>(IntPtr library, string path, string name)
        {
            IntPtr address = Native.dlsym(library, Utf8.Bytes(name));
            if (address == IntPtr.Zero)
                throw new KeltoException($"“{path}” isn’t Kelto’s library (it has no function {name}). " +
                    "Name libkelto.so.1 in KELTO_LIBRARY.");
            return Marshal.GetDelegateForFunctionPointer<T>(address);
        }

        /// May this build, in this process, use the synced library?
        public bool Available => available() == 1;

        /// The folder that holds the shared copy, or null.
        public string GroupPath()
        {
            IntPtr pointer = groupPath();
            try
            {
                return pointer == IntPtr.Zero ? null : Utf8.Text(Utf8.Copy(pointer));
            }
            finally
            {
                free(pointer); // Allocated by the library; null is allowed.
            }
        }

        /// What every request names as "storePath"; throws where there is no such place.
        public string StorePath()
        {
            if (!Available)
                throw new KeltoException("The synced library is switched off. Unset KELTO_DISABLE_CLOUDKIT " +
                    "and KELTO_CLOUDKIT_ENABLED, or take a build that has the entitlements.");
            string group = GroupPath();
            if (group == null)
                throw new KeltoException("There is no folder for the synced library. " +
                    "Set HOME to the path of your home folder.");
            return group + "/Library/Kelto.store";
        }

        /// Runs one exchange, from any thread. Throws ExchangeRefused when the library refuses. The
        /// main thread must never wait for this task without turning its loop.
        public async Task<Snapshot> ExchangeAsync(JsonObject request)
        {
            if (request == null) throw new ArgumentNullException(nameof(request));
            return ReadAnswer(await Start(Utf8.Bytes(request.ToString())));
        }

        /// The same for a request that is a text already.
        public async Task<Snapshot> ExchangeAsync(string request)
        {
            if (request == null) throw new ArgumentNullException(nameof(request));
            return ReadAnswer(await Start(Utf8.Bytes(request)));
        }

        Task<byte[]> Start(byte[] request)
        {
            // Continuations run elsewhere, not inside the callback: whatever they do or throw stays
            // outside of the library's frames.
            var answer = new TaskCompletionSource<byte[]>(TaskCreationOptions.RunContinuationsAsynchronously);
            long ticket = Interlocked.Increment(ref lastTicket);
            waiting[ticket] = answer;
            exchange(request, new IntPtr(ticket), answeredPointer); // It has copied the request.
            return answer.Task;
        }

        // Called by the library on the main thread. The response is only lent. Around this method is
        // native code: no exception may leave it.
        static void Answered(IntPtr context, IntPtr response)
        {
            TaskCompletionSource<byte[]> answer;
            if (!waiting.TryRemove(context.ToInt64(), out answer)) return;
            try
            {
                answer.TrySetResult(Utf8.Copy(response));
            }
            catch (Exception error)
            {
                answer.TrySetException(error);
            }
        }

        static Snapshot ReadAnswer(byte[] response)
        {
            JsonValue answer;
            try
            {
                answer = JsonValue.Parse(Utf8.Text(response));
            }
            catch (Exception error) when (error is ArgumentException || error is FormatException)
            {
                throw Broken(error.Message);
            }
            if (!(answer is JsonObject) || !answer.ContainsKey("version") || answer["version"]?.ToString() != "1")
                throw Broken("it is not of version 1");
            if (answer.ContainsKey("error"))
            {
                string sentence = Member.Text(answer, "error");
                throw sentence == null ? Broken("its error is no text") : new ExchangeRefused(sentence);
            }
            JsonArray records = answer.ContainsKey("records") ? answer["records"] as JsonArray : null;
            if (records == null || !records.All(IsRecord)) throw Broken("it holds no records");
            return new Snapshot(records, answer);
        }

        static bool IsRecord(JsonValue value)
        {
            return value is JsonObject && Member.Text(value, "uuid") != null;
        }

        static KeltoException Broken(string reason)
        {
            return new KeltoException("The library’s answer couldn’t be understood " +
                $"({reason.Split('\n')[0]}). Use a host and a library of the same version.");
        }
    }

    static class Member
    {
        /// Null where there is none, or something else than a text.
        internal static string Text(JsonValue value, string key)
        {
            if (!value.ContainsKey(key) || value[key]?.JsonType != JsonType.String) return null;
            return value[key];
        }
    }

    /// Texts cross as NUL-terminated UTF-8, checked on both ways; never in the system's own encoding.
    static class Utf8
    {
        static readonly UTF8Encoding strict = new UTF8Encoding(false, true);

        internal static byte[] Bytes(string text)
        {
            if (text.IndexOf('\0') >= 0)
                throw new KeltoException("The request holds a NUL character and would end there. " +
                    "Escape it as \\u0000, or leave it out.");
            try
            {
                return strict.GetBytes(text + '\0');
            }
            catch (EncoderFallbackException)
            {
                throw new KeltoException("The request can’t be written in UTF-8: it holds half of a " +
                    "surrogate pair. Correct the record.");
            }
        }

        internal static byte[] Copy(IntPtr text)
        {
            var bytes = new byte[checked((int)Native.strlen(text).ToUInt64())];
            Marshal.Copy(text, bytes, 0, bytes.Length);
            return bytes;
        }

        internal static string Text(byte[] bytes) => strict.GetString(bytes);
    }

    static class Native
    {
        internal const int BindNow = 2;

        [DllImport("libdl.so.2")]
        internal static extern IntPtr dlopen(byte[] path, int flags);
        [DllImport("libdl.so.2")]
        internal static extern IntPtr dlsym(IntPtr library, byte[] name);
        [DllImport("libdl.so.2")]
        static extern IntPtr dlerror();
        [DllImport("libc.so.6")]
        internal static extern UIntPtr strlen(IntPtr text);

        internal static string LastError() => Utf8.Text(Utf8.Copy(dlerror()));
    }
}
