#!/bin/sh
# Writes a million made-up readings of thermometers to standard output, always the same ones.
exec env LC_ALL=C awk 'BEGIN {
  stations = split("Aberdeen Bergen Cork Dover Esbjerg Falmouth Galway Hull", station, " ")
  skies = split("clear,few clouds,broken clouds,overcast", sky, ",")
  print "station,sky,seal,temperature"
  for (row = 0; row < 1000000; ++row) {
    x = (75 * x + 74) % 65537                       # a random number, 0 to 65536
    seal = row % 4096                               # of the instrument
    printf "%s,%s,S%04d,%.1f\n", station[x % stations + 1], sky[int(x / 8) % skies + 1], seal,
      (x % 301 + row % 151) / 10 - 5
  }
}'
