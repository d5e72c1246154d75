// A whole host: the files of a folder are its library, which it keeps together with the shared copy.
//
//     KELTO_LIBRARY=build/release/lib/libkelto.so.1 mono host.exe samples/library
//
// A second argument is the title that it gives to the file Orbits.gif.
using System;
using System.Collections.Generic;
using System.IO;
using System.Json;
using System.Linq;
using System.Text;
using System.Threading.Tasks;
using Kelto;

static class Host
{
    static int Main(string[] arguments)
    {
        // Not in the encoding that the environment names: the sentences hold more than ASCII.
        Console.SetOut(new StreamWriter(Console.OpenStandardOutput(), new UTF8Encoding(false)) { AutoFlush = true });
        Console.SetError(new StreamWriter(Console.OpenStandardError(), new UTF8Encoding(false)) { AutoFlush = true });
        string folder = arguments.Length > 0 ? arguments[0] : "samples/library";
        string title = arguments.Length > 1 ? arguments[1] : "Orbits, edited";
        try
        {
            GlibLoop.Run(() => Story(folder, title));
            return 0;
        }
        catch (DllNotFoundException error)
        {
            Console.Error.WriteLine($"A system library is missing ({error.Message}). Install libglib2.0-0.");
        }
        catch (Exception error) when (error is KeltoException || error is IOException ||
                                      error is UnauthorizedAccessException)
        {
            Console.Error.WriteLine(error.Message);
        }
        return 1;
    }

    static async Task Story(string folder, string title)
    {
        var bridge = new KeltoBridge();
        string dataHome = Environment.GetFolderPath(Environment.SpecialFolder.LocalApplicationData,
                                                    Environment.SpecialFolderOption.DoNotVerify);
        var library = new HostLibrary(Path.Combine(dataHome, "kelto-example-csharp"), bridge.StorePath());
        if (!Directory.Exists(folder))
            throw new KeltoException($"The folder “{folder}” couldn’t be read. " +
                "Name one that holds files, samples/library for example.");
        Tuple<int, int> found = library.AddFolder(folder);
        library.Save();
        Console.WriteLine($"files in the folder: {found.Item1}, new ones: {found.Item2}");
        await Synchronise("both sides brought together", bridge, library);
        await Synchronise("once more", bridge, library);

        string orbits = library.FindFile("Orbits.gif");
        if (orbits != null)
        {
            library.EditTitle(orbits, title);
            library.Save();
            await Synchronise("a title edited", bridge, library);
        }

        Console.WriteLine("a mistake");
        try
        {
            var mistake = new JsonObject { { "recordType", "Tag" }, { "uuid", "not-a-uuid" } };
            await bridge.ExchangeAsync(library.RequestWith(new JsonArray(mistake), new JsonObject()));
        }
        catch (ExchangeRefused refusal)
        {
            Console.WriteLine($"  not synced: {refusal.Message}");
        }
    }

    static async Task Synchronise(string heading, KeltoBridge bridge, HostLibrary library)
    {
        JsonObject request = library.Request();
        List<JsonValue> news = library.TakeOver(request, await bridge.ExchangeAsync(request));
        List<string> files = news.SelectMany(HostLibrary.FilesOf).ToList();
        Console.WriteLine(heading);
        Console.WriteLine($"  records sent: {request["records"].Count}; news: {news.Count}, " +
            $"with files: {files.Count}, of {files.Sum(each => new FileInfo(each).Length)} bytes");
        if (news.Count == 1) Console.WriteLine($"  “{(string)news[0]["title"]}”");
    }
}
