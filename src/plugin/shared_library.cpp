// The shared plugin is the whole core library, linked in as one archive; the interface symbols it
// exports are listed in exports.map and carry default visibility in the code that defines them.
