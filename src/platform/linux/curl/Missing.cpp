// Stands for the room in a build without libcurl; those that would use it are left out too.
