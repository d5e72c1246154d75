using System;
using System.Collections.Concurrent;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;

namespace Kelto
{
    /// The main loop of a program that has no other: turns GLib's default main context on the
    /// thread that calls Run, and brings what follows an `await` back to that thread, as a program
    /// with windows does. A host whose toolkit runs GLib's loop (GTK) does not need it.
    public sealed class GlibLoop : SynchronizationContext
    {
        readonly ConcurrentQueue<Action> posted = new ConcurrentQueue<Action>();

        /// Runs `main` to its end, asleep while there is nothing to do. On the main thread.
        public static void Run(Func<Task> main)
        {
            var loop = new GlibLoop();
            SynchronizationContext before = Current;
            SetSynchronizationContext(loop);
            try
            {
                Task task = main();
                task.ContinueWith(_ => g_main_context_wakeup(IntPtr.Zero), TaskScheduler.Default);
                while (!task.IsCompleted)
                {
                    loop.RunPosted();
                    if (!task.IsCompleted) g_main_context_iteration(IntPtr.Zero, 1);
                }
                task.GetAwaiter().GetResult(); // Throws what it has thrown.
            }
            finally
            {
                SetSynchronizationContext(before);
            }
        }

        void RunPosted()
        {
            // Only what is there now, so that GLib's own sources have their turn as well.
            for (int count = posted.Count; count > 0; --count)
            {
                Action action;
                if (posted.TryDequeue(out action)) action();
            }
            if (!posted.IsEmpty) g_main_context_wakeup(IntPtr.Zero);
        }

        public override void Post(SendOrPostCallback callback, object state)
        {
            posted.Enqueue(() => callback(state));
            g_main_context_wakeup(IntPtr.Zero); // The loop may be asleep.
        }

        public override void Send(SendOrPostCallback callback, object state)
        {
            throw new NotSupportedException("Nobody may wait for the main loop: use Post.");
        }

        [DllImport("libglib-2.0.so.0")]
        static extern int g_main_context_iteration(IntPtr context, int mayBlock);
        [DllImport("libglib-2.0.so.0")]
        static extern void g_main_context_wakeup(IntPtr context);
    }
}
