# Draws the rows of objects.py: gnuplot -e "rows='FILE'; drawing='FILE.svg'" objects.gp
set terminal svg size 1100,420 font "sans-serif,13" background "white"
set output drawing
set logscale xy 10
set format x "10^{%L}"
set format y "10^{%L}"
set xlabel "objects"
set xrange [700:1500000]
set grid ytics
set key outside right
set datafile missing "?"

set title "Nanoseconds for one object"
stats rows skip 1 nooutput
plot for [column=2:STATS_columns] rows using 1:column with linespoints pointtype 7 title columnheader(column)
