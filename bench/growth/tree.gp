# Draws the rows of tree.py: gnuplot -e "rows='FILE'; drawing='FILE.svg'" tree.gp
set terminal svg size 900,420 font "sans-serif,13" background "white"
set output drawing
set multiplot layout 1,2
set logscale x 10
set format x "10^{%L}"
set xlabel "elements"
set xrange [700:15000000]
set grid ytics
set key top left
set yrange [0:*]

set title "Keys compared in a search"
plot rows using 1:2 with linespoints pointtype 7 linecolor rgb "#1f77b4" title "measured", \
     log(x) / log(2) with lines dashtype 2 linecolor rgb "#888888" title "log_2 n"

set title "Nanoseconds for one element"
plot rows using 1:3 with linespoints pointtype 7 linecolor rgb "#d62728" title "push", \
     rows using 1:4 with linespoints pointtype 7 linecolor rgb "#1f77b4" title "find", \
     rows using 1:5 with linespoints pointtype 7 linecolor rgb "#2ca02c" title "pop", \
     rows using 1:6 with linespoints pointtype 7 linecolor rgb "#9467bd" title "walk"
