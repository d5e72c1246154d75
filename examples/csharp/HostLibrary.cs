using System;
using System.Collections.Generic;
using System.IO;
using System.Json;
using System.Linq;
using System.Security.Cryptography;
using System.Text;
using Kelto;

/// This host's own copy: every record as it was last received or edited, in one JSON file.
///
/// A record from the library carries its fingerprint and its fileFingerprint, so these are kept in
/// the same file, and change in the same moment, as the thing itself.
sealed class HostLibrary
{
    static readonly string[] payloads = { "data", "thumbnail", "icon" };
    static readonly string[] images = { ".png", ".jpg", ".gif", ".webp", ".svg" };
    static readonly DateTime epoch = new DateTime(1970, 1, 1, 0, 0, 0, DateTimeKind.Utc);

    readonly string storePath, directory, outgoing, file;
    readonly JsonObject records;
    readonly HashSet<string> changed;

    public HostLibrary(string home, string storePath)
    {
        this.storePath = storePath;
        directory = Path.Combine(home, "Exchange");
        outgoing = Path.Combine(directory, "outgoing");
        file = Path.Combine(home, "library.json");
        Directory.CreateDirectory(outgoing);
        JsonValue saved = File.Exists(file)
            ? JsonValue.Parse(File.ReadAllText(file))
            : new JsonObject { { "records", new JsonObject() }, { "changed", new JsonArray() } };
        records = (JsonObject)saved["records"];
        changed = new HashSet<string>(((JsonArray)saved["changed"]).Select(each => (string)each));
    }

    public void Save()
    {
        var all = new JsonObject
        {
            { "records", records },
            { "changed", new JsonArray(changed.Select(each => (JsonValue)each)) }
        };
        string fresh = file + ".new";
        File.WriteAllText(fresh, all.ToString());
        if (File.Exists(file)) File.Replace(fresh, file, null);
        else File.Move(fresh, file);
    }

    /// Takes in what it does not know yet: how many files there are, and how many of them are new.
    public Tuple<int, int> AddFolder(string folder)
    {
        string root = Path.GetFullPath(folder).TrimEnd('/');
        string project = Identifier(".");
        if (!records.ContainsKey(project))
            Put(new JsonObject { { "recordType", "Project" }, { "uuid", project },
                { "name", Path.GetFileName(root) }, { "createdAt", 1760000000000 } });
        int found = 0, fresh = 0;
        foreach (string path in Directory.GetFiles(root, "*", SearchOption.AllDirectories))
        {
            if (Path.GetFileName(path).StartsWith(".", StringComparison.Ordinal)) continue;
            ++found;
            string thing = Identifier(path.Substring(root.Length + 1));
            if (records.ContainsKey(thing)) continue;
            ++fresh;
            AddFile(path, thing, project);
        }
        return Tuple.Create(found, fresh);
    }

    void AddFile(string path, string thing, string project)
    {
        // Payload files must lie inside the exchange folder: a copy, whole before it is named.
        string copy = Path.Combine(outgoing, thing);
        File.Copy(path, copy, true);
        string name = Path.GetFileName(path);
        long modified = (File.GetLastWriteTimeUtc(path) - epoch).Ticks / TimeSpan.TicksPerSecond * 1000;
        Put(new JsonObject { { "recordType", "Thing" }, { "uuid", thing }, { "kind", KindOf(name) },
            { "createdAt", modified }, { "updatedAt", modified }, { "fileName", name },
            { "title", Path.GetFileNameWithoutExtension(name) }, { "fileSize", new FileInfo(path).Length },
            { "project", project }, { "data", copy } });
    }

    /// A host draws a random UUID for a new thing, and keeps it. This one takes the path's digest,
    /// so that the hosts of this folder in other languages mean the same things.
    static string Identifier(string path)
    {
        using (MD5 digest = MD5.Create())
        {
            byte[] bytes = digest.ComputeHash(Encoding.UTF8.GetBytes(path));
            return Guid.ParseExact(BitConverter.ToString(bytes).Replace("-", ""), "N").ToString();
        }
    }

    static string KindOf(string name)
    {
        string extension = Path.GetExtension(name);
        if (images.Contains(extension)) return "image";
        if (extension == ".mp4" || extension == ".webm") return "video";
        if (name.Contains(".note.")) return "note";
        return name.Contains(".quote.") ? "quote" : "document";
    }

    void Put(JsonObject record)
    {
        records[(string)record["uuid"]] = record;
        changed.Add(record["uuid"]);
    }

    public string FindFile(string name)
    {
        return records.Keys.FirstOrDefault(each => Member(records[each], "fileName") == name);
    }

    /// updatedAt has to grow with each edit, even if the clock was set back.
    public void EditTitle(string thing, string title)
    {
        var record = (JsonObject)JsonValue.Parse(records[thing].ToString());
        long now = (DateTime.UtcNow - epoch).Ticks / TimeSpan.TicksPerMillisecond;
        record["title"] = title;
        record["updatedAt"] = Math.Max(now, (long)record["updatedAt"] + 1);
        Put(record);
    }

    /// What has changed here, and what of the library's this host holds already.
    public JsonObject Request()
    {
        var sent = new JsonArray();
        foreach (string each in changed)
        {
            var record = (JsonObject)JsonValue.Parse(records[each].ToString());
            // What this host's version was made from: so the library notices edits on two sides.
            if (record.ContainsKey("fileFingerprint"))
                record["baseFileFingerprint"] = (string)record["fileFingerprint"];
            sent.Add(record);
        }
        var known = new JsonObject();
        foreach (string each in records.Keys)
            if (records[each].ContainsKey("fingerprint") && FilesOf(records[each]).All(File.Exists))
                known["Thing:" + each] = (string)records[each]["fingerprint"];
        return RequestWith(sent, known);
    }

    public JsonObject RequestWith(JsonArray sent, JsonObject known)
    {
        return new JsonObject { { "version", 1 }, { "storePath", storePath }, { "directory", directory },
            { "records", sent }, { "knownFingerprints", known } };
    }

    public static IEnumerable<string> FilesOf(JsonValue record)
    {
        return payloads.Where(record.ContainsKey).Select(each => (string)record[each]);
    }

    /// Makes the snapshot this host's own, and returns the things in it that are news.
    public List<JsonValue> TakeOver(JsonObject request, Snapshot snapshot)
    {
        Dictionary<string, JsonValue> sent = ByIdentifier((JsonArray)request["records"]);
        Dictionary<string, JsonValue> answered = ByIdentifier(snapshot.Records);
        var news = new List<JsonValue>();
        foreach (KeyValuePair<string, JsonValue> each in answered)
        {
            if (EditedSince(each.Key, sent)) continue; // It goes along next time, and is newer.
            string before = records.ContainsKey(each.Key) ? Member(records[each.Key], "fingerprint") : null;
            if (Member(each.Value, "fingerprint") != before) news.Add(each.Value);
            records[each.Key] = each.Value;
            changed.Remove(each.Key);
        }
        foreach (string gone in records.Keys.Where(
                     each => !answered.ContainsKey(each) && !EditedSince(each, sent)).ToList())
        {
            records.Remove(gone); // Another host has deleted it.
            changed.Remove(gone);
        }
        Save();
        foreach (string each in sent.Keys) File.Delete(Path.Combine(outgoing, each));
        return news;
    }

    /// Was it edited, or created, after the request was made?
    bool EditedSince(string thing, Dictionary<string, JsonValue> sent)
    {
        return changed.Contains(thing) && (!sent.ContainsKey(thing) ||
            Member(sent[thing], "updatedAt") != Member(records[thing], "updatedAt"));
    }

    static Dictionary<string, JsonValue> ByIdentifier(JsonArray list)
    {
        return list.ToDictionary(each => (string)each["uuid"]);
    }

    /// The text or number of a member, as text; null where there is none.
    static string Member(JsonValue record, string key)
    {
        if (!record.ContainsKey(key)) return null;
        return record[key].JsonType == JsonType.String ? (string)record[key] : record[key].ToString();
    }
}
