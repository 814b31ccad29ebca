// Holds nothing: the headers that all tests share are compiled with this file.
