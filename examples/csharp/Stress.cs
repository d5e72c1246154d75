// Exchanges from several threads at once, while the collector is forced to run all the time: what
// native code holds on to must stay where it is, and every answer must reach the one who asked.
//
//     mono stress.exe FOLDER [EXCHANGES]
//
// FOLDER takes the exchange folders; the library lies where XDG_DATA_HOME says.
using System;
using System.Diagnostics;
using System.IO;
using System.Json;
using System.Linq;
using System.Threading;
using System.Threading.Tasks;
using Kelto;

static class Stress
{
    const int threads = 4, inFlight = 8;

    static int Main(string[] arguments)
    {
        string folder = Path.GetFullPath(arguments[0]);
        int exchanges = arguments.Length > 1 ? int.Parse(arguments[1]) : 10000;
        var clock = Stopwatch.StartNew();
        int collectionsBefore = GC.CollectionCount(GC.MaxGeneration);
        bool done = false;
        var collector = new Thread(() =>
        {
            while (!Volatile.Read(ref done))
            {
                GC.Collect();
                Thread.Sleep(1);
            }
        });
        collector.Start();
        try
        {
            GlibLoop.Run(() => Task.WhenAll(Enumerable.Range(0, threads).Select(
                number => Task.Factory.StartNew(
                    () => Work(Path.Combine(folder, "worker-" + number), exchanges / threads),
                    TaskCreationOptions.LongRunning))));
        }
        catch (Exception error)
        {
            Console.Error.WriteLine(error);
            return 1;
        }
        finally
        {
            Volatile.Write(ref done, true);
            collector.Join();
        }
        Console.WriteLine($"{exchanges / threads * threads} exchanges from {threads} threads, " +
            $"{GC.CollectionCount(GC.MaxGeneration) - collectionsBefore} collections, {clock.ElapsedMilliseconds} ms");
        return 0;
    }

    // Not on the main thread, which turns the loop: so it may wait.
    static void Work(string directory, int exchanges)
    {
        var bridge = new KeltoBridge();
        string thing = Guid.NewGuid().ToString();
        for (int done = 0; done < exchanges; done += inFlight)
        {
            int count = Math.Min(inFlight, exchanges - done);
            Task.WaitAll(Enumerable.Range(done, count).Select(
                number => Exchange(bridge, directory, thing, number)).ToArray());
        }
    }

    static async Task Exchange(KeltoBridge bridge, string directory, string thing, int number)
    {
        bool edits = number % 20 == 0, errs = number % 7 == 3;
        string title = $"Nº {number} — 日本 🛶";
        var record = new JsonObject { { "recordType", "Thing" }, { "uuid", errs ? "not-a-uuid" : thing },
            { "kind", "note" }, { "title", title }, { "updatedAt", 1760000000000 + number } };
        var request = new JsonObject { { "version", 1 }, { "storePath", bridge.StorePath() },
            { "directory", directory },
            { "records", edits || errs ? new JsonArray(record) : new JsonArray() } };
        string refusal = null;
        try
        {
            Snapshot snapshot = await bridge.ExchangeAsync(request).ConfigureAwait(false);
            Check(snapshot.Directory == directory, "an answer went to somebody else");
            if (edits)
                Check((string)snapshot.Records.First(each => (string)each["uuid"] == thing)["title"] == title,
                      "a title came back changed");
        }
        catch (ExchangeRefused error)
        {
            refusal = error.Message;
        }
        Check(refusal == (errs ? "Invalid record identifier." : null), $"the refusal was “{refusal}”");
    }

    static void Check(bool holds, string failure)
    {
        if (!holds) throw new InvalidOperationException(failure);
    }
}
